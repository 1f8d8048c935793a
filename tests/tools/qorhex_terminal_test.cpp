// SPDX-License-Identifier: MIT
//
// The program qorhex on a terminal.

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "support/terminal.h"
#include "tools/qorhex_program.h"

namespace {

constexpr unsigned short columns = 60;
constexpr unsigned short wide = 100;

// What removes a bar from a terminal with `width` columns.
std::string removal(std::size_t width = columns) {
  return '\r' + std::string(width - 1, ' ') + '\r';
}

// The whole bar.
std::string bar(const std::string& title, std::size_t width = columns) {
  const std::string text = "qorhex: " + title + " 100% [";
  return '\r' + text + std::string(width - 2 - text.size(), '#') + ']';
}

void noColour() {
  setenv("NO_COLOR", "1", 1);
}

// `text` with `word`, which it has once, replaced.
std::string replaced(std::string text, const std::string& word,
                     const std::string& by) {
  EXPECT_NE(text.find(word), std::string::npos) << text;
  EXPECT_EQ(text.find(word), text.rfind(word)) << text;
  return text.replace(text.find(word), word.size(), by);
}

// `text` with the line ends of a terminal.
std::string onTerminal(const std::string& text) {
  std::string shown;
  for (const char character : text) {
    shown += character == '\n' ? "\r\n" : std::string(1, character);
  }
  return shown;
}

class QorhexTerminal : public QorhexProgram {
 protected:
  // Runs the program with standard output and standard error on one terminal
  // and returns what it shows.
  std::string shown(const std::vector<std::string>& arguments, int status,
                    const std::function<void()>& inChild = {},
                    unsigned short width = columns) const {
    PseudoTerminal terminal(width);
    const processResult_t result = run(arguments, [&] {
      setenv("TERM", "xterm", 1);
      unsetenv("NO_COLOR");
      terminal.become(STDOUT_FILENO);
      terminal.become(STDERR_FILENO);
      if (inChild) {
        inChild();
      }
    });
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out + result.err, "");
    return terminal.text();
  }

  // Returns what standard error is without a terminal, with the line ends of
  // one.
  std::string plain(const std::vector<std::string>& arguments) const {
    return onTerminal(run(arguments).err);
  }

  // Makes a damaged file.
  void writeDamaged(const std::string& name) const {
    folder.write(name, dataLine(0, "ab") + ":00000001FE\n");
  }
};

TEST_F(QorhexTerminal, ErrorsAndCaretsHaveColours) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"bad.hex"}, 3),
            replaced(replaced(plain({"bad.hex"}),
                              "error:", "\x1b[1;31merror:\x1b[0m"),
                     "^", "\x1b[1;32m^\x1b[0m"));
}

TEST_F(QorhexTerminal, WarningsHaveAnotherColour) {
  folder.write("fw.hex", endLine + "x\n");
  EXPECT_EQ(shown({"fw.hex"}, 0),
            replaced(replaced(plain({"fw.hex"}),
                              "warning:", "\x1b[1;35mwarning:\x1b[0m"),
                     "^", "\x1b[1;32m^\x1b[0m") +
                "total  0\r\n");
}

TEST_F(QorhexTerminal, NoColorSwitchesThemOff) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"bad.hex"}, 3, noColour), plain({"bad.hex"}));
}

TEST_F(QorhexTerminal, AnEmptyNoColorDoesNot) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"bad.hex"}, 3, [] { setenv("NO_COLOR", "", 1); }),
            shown({"bad.hex"}, 3));
}

TEST_F(QorhexTerminal, ADumbTerminalHasNone) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"bad.hex"}, 3, [] { setenv("TERM", "dumb", 1); }),
            plain({"bad.hex"}));
}

TEST_F(QorhexTerminal, CheckHasColoursOnStandardOutput) {
  folder.write("bad.hex", ":00000001FE\n" + endLine);
  EXPECT_EQ(shown({"--check", "bad.hex"}, 3),
            replaced(replaced(onTerminal(run({"--check", "bad.hex"}).out),
                              "error:", "\x1b[1;31merror:\x1b[0m"),
                     "^", "\x1b[1;32m^\x1b[0m"));
}

TEST_F(QorhexTerminal, EachStreamGoesByItself) {
  writeDamaged("bad.hex");
  const std::function<void()> asTerminal = [] {
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
  };
  PseudoTerminal terminal(columns);
  expectRun({"bad.hex"}, 3, {}, run({"bad.hex"}).err, [&] {
    asTerminal();
    terminal.become(STDOUT_FILENO);
  });
  EXPECT_EQ(terminal.text(), "");
  PseudoTerminal other(columns);
  expectRun({"--check", "bad.hex"}, 3, run({"--check", "bad.hex"}).out, {},
            [&] {
              asTerminal();
              other.become(STDERR_FILENO);
            });
  EXPECT_EQ(other.text(), "");
}

TEST_F(QorhexTerminal, NamesStayEscaped) {
  const std::string name = "\x1b[31mred\r\xC2\x9B.hex";
  writeDamaged(name);
  const std::string escaped = R"(\x1b[31mred\x0d\xc2\x9b.hex)";
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"--progress", name}, 3, noColour, wide),
            bar(escaped + ": read", wide) + removal(wide) +
                replaced(plain({"bad.hex"}), "bad.hex", escaped));
}

TEST_F(QorhexTerminal, ProgressIsABarInPlace) {
  folder.write("fw.hex", dataLine(0, "ab") + endLine);
  EXPECT_EQ(
      shown({"--progress", "-b", "fw.bin", "fw.hex"}, 0),
      bar("fw.hex: read") + removal() + bar("fw.bin: written") + removal());
}

TEST_F(QorhexTerminal, ProgressGrows) {
  std::string text;
  for (unsigned i = 0; i < 60000; ++i) {
    text += dataLine(0, "0123456789abcdef");
  }
  folder.write("fw.hex", text + endLine);
  const std::string screen = shown({"--progress", "fw.hex"}, 0);
  const std::string title = "\rqorhex: fw.hex: read ";
  const std::size_t cells = columns - title.size() - 7;
  std::string last = "  0%";
  std::size_t bars = 0;
  std::size_t at = 0;
  for (; screen.compare(at, title.size(), title) == 0; at += columns) {
    const std::string number = screen.substr(at + title.size(), 4);
    const std::size_t full = cells * std::stoul(number) / 100;
    EXPECT_LT(last, number);
    EXPECT_EQ(
        screen.substr(at + title.size() + 4, cells + 3),
        " [" + std::string(full, '#') + std::string(cells - full, '.') + ']');
    last = number;
    ++bars;
  }
  EXPECT_EQ(last, "100%");
  EXPECT_GT(bars, 10U);
  EXPECT_EQ(screen.substr(at),
            removal() +
                "   no  first       last        size\r\n"
                "    0  0x00000000  0x0000000f  16  16B\r\n"
                "total                          16  16B\r\n");
}

TEST_F(QorhexTerminal, AMessageRemovesTheBar) {
  folder.write("fw.hex", endLine + "x\n");
  EXPECT_EQ(
      shown({"--progress", "fw.hex"}, 0, noColour),
      bar("fw.hex: read") + removal() + plain({"fw.hex"}) + "total  0\r\n");
}

TEST_F(QorhexTerminal, AnErrorRemovesTheBar) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"--progress", "bad.hex"}, 3, noColour),
            bar("bad.hex: read") + removal() + plain({"bad.hex"}));
}

TEST_F(QorhexTerminal, WhatCheckTellsRemovesTheBar) {
  writeDamaged("bad.hex");
  EXPECT_EQ(shown({"--check", "--progress", "bad.hex"}, 3, noColour),
            bar("bad.hex: read") + removal() +
                onTerminal(run({"--check", "bad.hex"}).out));
}

TEST_F(QorhexTerminal, OfAPipeTheEndAloneIsShown) {
  const auto inputFromPipe = [] {
    int ends[2];
    if (pipe(ends) == 0 && write(ends[1], endLine.data(), endLine.size()) > 0) {
      dup2(ends[0], STDIN_FILENO);
      close(ends[0]);
      close(ends[1]);
    }
  };
  EXPECT_EQ(shown({"--progress", "-"}, 0, inputFromPipe),
            bar("<stdin>: read") + removal() + "total  0\r\n");
}

TEST_F(QorhexTerminal, ANarrowTerminalHasTheNumberAlone) {
  folder.write("fw.hex", endLine);
  // 20 columns before the number, 4 for it, 4 around the cells, 8 cells.
  EXPECT_EQ(
      shown({"--progress", "fw.hex"}, 0, {}, 37),
      "\rqorhex: fw.hex: read 100% [########]" + removal(37) + "total  0\r\n");
  EXPECT_EQ(shown({"--progress", "fw.hex"}, 0, {}, 36),
            "\r100%" + removal(5) + "total  0\r\n");
  EXPECT_EQ(shown({"--progress", "fw.hex"}, 0, {}, 4), "total  0\r\n");
}

TEST_F(QorhexTerminal, ATerminalThatDoesNotTellItsWidthHas72Columns) {
  folder.write("fw.hex", endLine);
  EXPECT_EQ(shown({"--progress", "fw.hex"}, 0, {}, 0),
            bar("fw.hex: read", 72) + removal(72) + "total  0\r\n");
}

TEST_F(QorhexTerminal, AWideNameLeavesRoom) {
  folder.write("\xE6\xBC\xA2.hex", endLine);
  EXPECT_EQ(shown({"--progress", "\xE6\xBC\xA2.hex"}, 0),
            "\rqorhex: \xE6\xBC\xA2.hex: read 100% [" + std::string(31, '#') +
                ']' + removal() + "total  0\r\n");
}

TEST_F(QorhexTerminal, ElsewhereProgressIsLines) {
  folder.write("fw.hex", dataLine(0, "ab") + endLine);
  PseudoTerminal terminal(columns);
  const processResult_t result =
      run({"--progress", "fw.hex"}, [&] { terminal.become(STDOUT_FILENO); });
  EXPECT_EQ(result.err, "qorhex: fw.hex: read 100%\n");
  EXPECT_EQ(terminal.text(),
            "   no  first       last        size\r\n"
            "    0  0x00000000  0x00000001  2  2B\r\n"
            "total                          2  2B\r\n");
}

}  // namespace
