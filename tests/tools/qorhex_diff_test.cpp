// SPDX-License-Identifier: MIT
//
// The program qorhex with --diff.

#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

constexpr unsigned startSegment = 3;
constexpr unsigned startLinear = 5;

class QorhexDiff : public QorhexProgram {
 protected:
  // Expects what --diff tells about two texts.
  void expectDiff(const std::string& first, const std::string& second,
                  int status, const std::string& out) const {
    folder.write("old.hex", first);
    folder.write("new.hex", second);
    expectRun({"--diff", "old.hex", "new.hex"}, status, out);
  }
};

TEST_F(QorhexDiff, OfEqualImagesNothingIsTold) {
  expectDiff(dataLine(0x10, "abcdef") + endLine,
             "\n" + dataLine(0x13, "def") + dataLine(0x10, "abc") + endLine, 0,
             {});
  expectDiff(endLine, endLine, 0, {});
  expectRun({"--diff", "old.hex", "old.hex"}, 0, {});
}

TEST_F(QorhexDiff, EachRunHasItsAddressesItsSizeAndItsKind) {
  expectDiff(dataLine(0x10, "abcdef") + dataLine(0x100, "same") + endLine,
             dataLine(0x13, "dEFghijklmnop") + dataLine(0x100, "same") +
                 upperLine(0x0800) + dataLine(0, std::string(250, 'x')) +
                 dataLine(250, std::string(250, 'x')) +
                 dataLine(500, std::string(250, 'x')) +
                 dataLine(750, std::string(250, 'x')) +
                 dataLine(1000, std::string(250, 'x')) + endLine,
             1,
             "0x00000010  0x00000012     3         3B  only in old.hex\n"
             "0x00000014  0x00000015     2         2B  differs\n"
             "0x00000016  0x0000001f    10        10B  only in new.hex\n"
             "0x08000000  0x080004e1  1250  1.2207KiB  only in new.hex\n");
}

TEST_F(QorhexDiff, AbsentIsNotErased) {
  expectDiff(dataLine(0, "ab\xff\xff") + endLine, dataLine(0, "ab") + endLine,
             1, "0x00000002  0x00000003  2  2B  only in old.hex\n");
}

TEST_F(QorhexDiff, RunsGoOnAcross64KiB) {
  expectDiff(dataLine(0xFFFE, "ab") + upperLine(1) + dataLine(0, "cd") +
                 upperLine(0xFFFF) + dataLine(0xFFFF, "y") + endLine,
             dataLine(0xFFFE, "aB") + upperLine(1) + dataLine(0, "Cd") +
                 upperLine(0xFFFF) + dataLine(0xFFFF, "z") + endLine,
             1,
             "0x0000ffff  0x00010000  2  2B  differs\n"
             "0xffffffff  0xffffffff  1  1B  differs\n");
}

TEST_F(QorhexDiff, StartAddressesAreCompared) {
  const std::string data = dataLine(0, "ab");
  const std::string linear =
      recordLine(startLinear, 0, std::string("\0\0\1\0", 4));
  const std::string other =
      recordLine(startLinear, 0, std::string("\0\0\2\0", 4));
  const std::string segment =
      recordLine(startSegment, 0, std::string("\0\1\0\2", 4));
  expectDiff(data + linear + segment + endLine,
             segment + data + linear + endLine, 0, {});
  expectDiff(data + linear + endLine, dataLine(0, "aB") + other + endLine, 1,
             "0x00000001  0x00000001  1  1B  differs\n"
             "start address 0x00000100  only in old.hex\n"
             "start address 0x00000200  only in new.hex\n");
  expectDiff(data + endLine, data + segment + endLine, 1,
             "start address 0x00000012 (segment 0x0001, offset 0x0002)  only "
             "in new.hex\n");
  expectDiff(
      data + linear + endLine,
      data + recordLine(startSegment, 0, std::string("\0\0\1\0", 4)) + endLine,
      1,
      "start address 0x00000100  only in old.hex\n"
      "start address 0x00000100 (segment 0x0000, offset 0x0100)  only "
      "in new.hex\n");
}

// More than is written at once.
TEST_F(QorhexDiff, ManyDifferencesAreAllTold) {
  std::string old;
  std::string told;
  for (unsigned i = 0; i < 2000; ++i) {
    old += dataLine(2 * i, "a");
    char line[64];
    std::snprintf(line, sizeof line, "0x%08x  0x%08x  1  1B  only in old.hex\n",
                  2 * i, 2 * i);
    told += line;
  }
  expectDiff(old + endLine, endLine, 1, told);
}

TEST_F(QorhexDiff, RangesLimitWhatIsCompared) {
  folder.write("old.hex", dataLine(0, "abcdef") + endLine);
  folder.write("new.hex", dataLine(0, "AbcdEF") + endLine);
  expectRun({"--diff", "--range=1-4", "--range=2-3", "old.hex", "new.hex"}, 1,
            "0x00000004  0x00000004  1  1B  differs\n");
  expectRun({"--diff", "--range=1-3", "old.hex", "new.hex"}, 0, {});
}

TEST_F(QorhexDiff, DataOutsideOfTheMapIsRefusedInEachFile) {
  folder.write("old.hex", dataLine(0, "ab") + endLine);
  folder.write("new.hex", dataLine(0, "ab") + dataLine(0x100, "c") + endLine);
  folder.write("board.map", "flash 0x0-0xff\n");
  expectRun({"--diff", "--map=board.map", "old.hex", "new.hex"}, 3, {},
            "new.hex:2:10: error: data at 0x00000100 is outside of all "
            "regions, 1 byte in all; move it or extend the map, whose nearest "
            "region is flash, 0x00000000-0x000000ff\n" +
                dataLine(0x100, "c") + "         ^\n");
  expectRun(
      {"--diff", "--map=board.map", "--range=0-0xff", "old.hex", "new.hex"}, 0,
      {});
}

TEST_F(QorhexDiff, WhatIsWrongWithEachFileIsTold) {
  folder.write("old.hex", dataLine(0, "ab") + endLine);
  folder.write("bad.hex", dataLine(0, "ab"));
  folder.write("worse.hex", "rubbish\n");
  const std::string noEnd =
      "bad.hex:1:16: error: the text ends without an end record; the file was "
      "cut, or :00000001FF is missing\n" +
      dataLine(0, "ab") + "               ^\n";
  expectRun({"--diff", "old.hex", "bad.hex"}, 3, {}, noEnd);
  expectRun({"--diff", "bad.hex", "worse.hex"}, 3, {},
            noEnd +
                "worse.hex:1:1: error: no start code ':' at the beginning; "
                "every line is a record, comments are not understood\n"
                "rubbish\n^\n");
  expectRun({"--diff", "none.hex", "bad.hex"}, 4, {},
            "qorhex: none.hex: No such file or directory\n" + noEnd);
}

TEST_F(QorhexDiff, ConflictsAreAcceptedByForceAlone) {
  folder.write("old.hex", dataLine(0, "ab") + dataLine(1, "B") + endLine);
  folder.write("new.hex", dataLine(0, "ab") + endLine);
  expectRun({"--diff", "old.hex", "new.hex"}, 3, {},
            "old.hex:2:10: error: byte 0x42 at 0x00000001 conflicts with 0x62 "
            "of old.hex:1, 1 byte in all; --force accepts that\n");
  expectRun({"--diff", "--force", "old.hex", "new.hex"}, 1,
            "0x00000001  0x00000001  1  1B  differs\n",
            "qorhex: old.hex: 1 conflicting byte accepted (--force)\n");
}

TEST_F(QorhexDiff, TheLibrarysImagesAreComparedToo) {
  folder.write("old.hex", dataLine(0, "ab") + endLine);
  folder.write("new.hex", dataLine(0, "aB") + endLine);
  expectRun({"--diff", "--strict", "old.hex", "new.hex"}, 1,
            "0x00000001  0x00000001  1  1B  differs\n");
}

TEST_F(QorhexDiff, HostileNamesAreEscaped) {
  folder.write("\x1b[2J.hex", dataLine(0, "a") + endLine);
  folder.write("a b\n.hex", endLine);
  expectRun({"--diff", "\x1b[2J.hex", "a b\n.hex"}, 1,
            "0x00000000  0x00000000  1  1B  only in \\x1b[2J.hex\n");
  expectRun({"--diff", "a b\n.hex", "\x1b[2J.hex"}, 1,
            "0x00000000  0x00000000  1  1B  only in \\x1b[2J.hex\n");
}

TEST_F(QorhexDiff, StandardInputIsOneOfThem) {
  folder.write("old.hex", dataLine(0, "a") + endLine);
  folder.write("new.hex", dataLine(1, "b") + endLine);
  expectRun({"--diff", "old.hex", "-"}, 1,
            "0x00000000  0x00000000  1  1B  only in old.hex\n"
            "0x00000001  0x00000001  1  1B  only in <stdin>\n",
            {}, [] { dup2(open("new.hex", O_RDONLY), STDIN_FILENO); });
}

TEST_F(QorhexDiff, WhatDoesNotArriveIsAnError) {
  folder.write("old.hex", dataLine(0, "a") + endLine);
  folder.write("new.hex", endLine);
  expectRun({"--diff", "old.hex", "new.hex"}, 4, {},
            "qorhex: standard output: No space left on device\n",
            [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(QorhexDiff, AsJson) {
  folder.write("old.hex", dataLine(0, "ab") + endLine);
  folder.write("new.hex",
               dataLine(1, "Bc") +
                   recordLine(startLinear, 0, std::string("\0\0\1\0", 4)) +
                   endLine);
  const std::string files = run({"--format=json", "old.hex", "new.hex"}).out;
  // The same files, and the differences before the end.
  const std::string end = "}\n";
  ASSERT_GT(files.size(), end.size());
  expectRun({"--diff", "--format=json", "old.hex", "new.hex"}, 1,
            files.substr(0, files.size() - end.size()) +
                ",\"differences\":["
                "{\"first\":0,\"last\":0,\"size\":1,\"kind\":\"onlyA\"},"
                "{\"first\":1,\"last\":1,\"size\":1,\"kind\":\"differs\"},"
                "{\"first\":2,\"last\":2,\"size\":1,\"kind\":\"onlyB\"}],"
                "\"startAddressesDiffer\":true" +
                end);
}

// The text of an image, and its lines against an equal image but for some
// bytes, compared address by address.
TEST_F(QorhexDiff, RandomPairsDifferWhereAPlainComparisonSays) {
  std::mt19937 generator(1);
  for (int round = 0; round < 40; ++round) {
    std::map<unsigned, std::string> lines[2];  // by address, one byte each
    for (unsigned address = 0; address < 200; ++address) {
      const bool dense = generator() % 4 != 0;
      const std::string byte(1, static_cast<char>(generator()));
      for (auto& side : lines) {
        const auto chance = generator() % 16;
        if (dense && chance != 0) {
          side[address] = chance == 1 ? "?" : byte;
        }
      }
    }
    std::string expected;
    std::string kindBefore;
    unsigned first = 0;
    for (unsigned address = 0; address <= 200; ++address) {
      const auto a = lines[0].find(address);
      const auto b = lines[1].find(address);
      std::string kind;
      if (a != lines[0].end() && b == lines[1].end()) {
        kind = "only in old.hex";
      } else if (a == lines[0].end() && b != lines[1].end()) {
        kind = "only in new.hex";
      } else if (a != lines[0].end() && a->second != b->second) {
        kind = "differs";
      }
      if (kind != kindBefore) {
        if (!kindBefore.empty()) {
          char run[100];
          std::snprintf(run, sizeof run, "0x%08x 0x%08x %u %uB ", first,
                        address - 1, address - first, address - first);
          expected += run + kindBefore + '\n';
        }
        kindBefore = kind;
        first = address;
      }
    }
    const char* const names[] = {"old.hex", "new.hex"};
    for (int side = 0; side < 2; ++side) {
      std::string text;
      for (const auto& [address, byte] : lines[side]) {
        text += dataLine(address, byte);
      }
      folder.write(names[side], text + endLine);
    }
    const processResult_t result = run({"--diff", "old.hex", "new.hex"});
    std::string told;  // with one blank between columns
    for (const char character : result.out) {
      if (character != ' ' || told.empty() || told.back() != ' ') {
        told += character;
      }
    }
    ASSERT_EQ(told, expected);
    ASSERT_EQ(result.status, expected.empty() ? 0 : 1);
  }
}

}  // namespace
