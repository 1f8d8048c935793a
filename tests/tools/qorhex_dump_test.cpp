// SPDX-License-Identifier: MIT
//
// The text column of qorhex --hexdump.

#include <string>

#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

class QorhexDump : public QorhexProgram {};

TEST_F(QorhexDump, TheTextStandsBetweenBars) {
  folder.write("fw.hex",
               upperLine(0x0800) + dataLine(0x100, "Hello") + endLine);
  expectRun({"-x5", "fw.hex"}, 0, "0x08000100: 48 65 6c 6c 6f  |Hello|\n");
}

TEST_F(QorhexDump, TheBarsOfShortLinesStandBelowTheOthers) {
  folder.write("fw.hex", dataLine(0, "Hello, you") + dataLine(0x10, "|x|") +
                             dataLine(0x20, "y") + endLine);
  expectRun({"-x4", "fw.hex"}, 0,
            "0x00000000: 48 65 6c 6c  |Hell|\n"
            "0x00000004: 6f 2c 20 79  |o, y|\n"
            "0x00000008: 6f 75        |ou|\n"
            "\n"
            "0x00000010: 7c 78 7c     ||x||\n"
            "\n"
            "0x00000020: 79           |y|\n");
}

// Each byte that there is, whatever a terminal would make of it.
TEST_F(QorhexDump, ADotStandsForWhatDoesNotPrint) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  std::string dump;
  for (unsigned row = 0; row < 16; ++row) {
    std::string bytes;
    std::string column;
    dump += std::string("0x000000") + digits[row] + "0:";
    for (unsigned i = row * 16; i < row * 16 + 16; ++i) {
      const auto byte = static_cast<char>(i);
      bytes += byte;
      column += i >= 0x20 && i < 0x7F ? byte : '.';
      dump += {' ', digits[i / 16], digits[i % 16]};
    }
    text += dataLine(row * 16, bytes);
    dump += "  |" + column + "|\n";
  }
  folder.write("fw.hex", text + endLine);
  expectRun({"-x", "fw.hex"}, 0, dump);
}

TEST_F(QorhexDump, ReversedBytesHaveTheirTextReversed) {
  folder.write("fw.hex", dataLine(0, "drow") + endLine);
  expectRun({"-r", "-x", "fw.hex"}, 0,
            "0x00000000: 77 6f 72 64" + std::string(36, ' ') + "  |word|\n");
}

}  // namespace
