// SPDX-License-Identifier: MIT
//
// qorhex --hexdump: the dump and its text column.

#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

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

const std::string alphabetText =
    dataLine(0x100, "abcdefghijklmnopqrst") + endLine;

const char alphabetDump[] =
    "0x00000100: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70  |abcdefghijklmnop|\n"
    "0x00000110: 71 72 73 74                                      |qrst|\n";

const char alphabetDumpOfEight[] =
    "0x00000100: 61 62 63 64 65 66 67 68  |abcdefgh|\n"
    "0x00000108: 69 6a 6b 6c 6d 6e 6f 70  |ijklmnop|\n"
    "0x00000110: 71 72 73 74              |qrst|\n";

TEST_F(Qorhex, DumpShowsTheBytesBehindTheirAddress) {
  folder.write("fw.hex", alphabetText);
  for (const char* option : {"-x", "--hexdump", "-x16", "--hexdump=16"}) {
    const processResult_t result = run({option, "fw.hex"});
    EXPECT_EQ(result.out, alphabetDump) << option;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST_F(Qorhex, DumpTakesTheNumberOfBytesPerLine) {
  folder.write("fw.hex", alphabetText);
  for (const char* option : {"-x8", "--hexdump=8", "--hex=0x8"}) {
    EXPECT_EQ(run({option, "fw.hex"}).out, alphabetDumpOfEight) << option;
  }
  EXPECT_EQ(run({"-x4096", "fw.hex"}).out,
            "0x00000100: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70 71 72 "
            "73 74" +
                std::string(4076 * std::size_t{3}, ' ') +
                "  |abcdefghijklmnopqrst|\n");
}

TEST_F(Qorhex, DumpTakesANumberApartFromItAsAFile) {
  folder.write("fw.hex", alphabetText);
  const processResult_t result = run({"fw.hex", "-x", "8"});
  EXPECT_EQ(result.out, std::string("fw.hex:\n") + alphabetDump);
  EXPECT_EQ(result.err, "qorhex: 8: No such file or directory\n");
  EXPECT_EQ(result.status, 4);
}

TEST_F(Qorhex, DumpOfOneBytePerLine) {
  folder.write("fw.hex", sampleText);
  EXPECT_EQ(run({"-x1", "fw.hex"}).out,
            "0x00000100: 41  |A|\n"
            "0x00000101: 42  |B|\n"
            "0x00000102: 43  |C|\n"
            "0x00000103: 44  |D|\n");
}

TEST_F(Qorhex, DumpRunsOnAcross64KiB) {
  folder.write("fw.hex", baseLine(4, 0x0800) + dataLine(0xFFFA, "abcdef") +
                             baseLine(4, 0x0801) + dataLine(0, "ghijkl") +
                             endLine);
  EXPECT_EQ(run({"-x4", "fw.hex"}).out,
            "0x0800fffa: 61 62 63 64  |abcd|\n"
            "0x0800fffe: 65 66 67 68  |efgh|\n"
            "0x08010002: 69 6a 6b 6c  |ijkl|\n");
  EXPECT_EQ(
      run({"-x", "fw.hex"}).out,
      "0x0800fffa: 61 62 63 64 65 66 67 68 69 6a 6b 6c              |abcdefghijkl|\n");
}

TEST_F(Qorhex, DumpPutsAnEmptyLineBetweenSegments) {
  folder.write("fw.hex", dataLine(0, "abcde") + dataLine(6, "gh") +
                             baseLine(4, 0xFFFF) + dataLine(0xFFFD, "xyz") +
                             endLine);
  EXPECT_EQ(run({"-x4", "fw.hex"}).out,
            "0x00000000: 61 62 63 64  |abcd|\n"
            "0x00000004: 65           |e|\n"
            "\n"
            "0x00000006: 67 68        |gh|\n"
            "\n"
            "0xfffffffd: 78 79 7a     |xyz|\n");
}

TEST_F(Qorhex, DumpShowsReversedBytesAtThePlaceOfTheirSegment) {
  folder.write("fw.hex", dataLine(0xFFFE, "ab") + baseLine(4, 1) +
                             dataLine(0, "cd") + dataLine(6, "xyz") + endLine);
  EXPECT_EQ(run({"-rx3", "fw.hex"}).out,
            "0x0000fffe: 64 63 62  |dcb|\n"
            "0x00010001: 61        |a|\n"
            "\n"
            "0x00010006: 7a 79 78  |zyx|\n");
}

TEST_F(Qorhex, DumpNamesSeveralFiles) {
  folder.write("a.hex", sampleText);
  folder.write("b.hex", endLine);
  folder.write("c d.hex", dataLine(0, "x") + endLine);
  const processResult_t result = run({"-x", "--", "a.hex", "b.hex", "c d.hex"});
  EXPECT_EQ(
      result.out,
      "a.hex:\n"
      "0x00000100: 41 42 43 44                                      |ABCD|\n"
      "b.hex:\n"
      "c d.hex:\n"
      "0x00000000: 78                                               |x|\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, DumpOfNoDataIsEmpty) {
  folder.write("fw.hex", endLine);
  const processResult_t result = run({"-x", "fw.hex"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(Qorhex, DumpStandsBesideTheFiles) {
  folder.write("fw.hex", sampleText);
  const processResult_t result =
      run({"-x", "-o", ".", "-b", "fw.bin", "fw.hex"});
  EXPECT_EQ(
      result.out,
      "0x00000100: 41 42 43 44                                      |ABCD|\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(folder.read("fw.bin"), "ABCD");
  EXPECT_EQ(folder.read("fw-00000100.bin"), "ABCD");
}

TEST_F(Qorhex, DumpOfABadFileIsEmpty) {
  folder.write("fw.hex", abcdLine + "rubbish\n");
  expectRefusal({"-x", "fw.hex"},
                "fw.hex:2:1: error: no start code ':' at the beginning; every "
                "line is a record, comments are not understood\n"
                "rubbish\n"
                "^\n");
}

TEST_F(Qorhex, DumpToAFullDeviceIsAnError) {
  folder.write("fw.hex", sampleText);
  expectFailure({"-x", "fw.hex"},
                "qorhex: standard output: No space left on device\n",
                [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  expectFailure({"-x", "fw.hex"},
                "qorhex: standard output: Bad file descriptor\n",
                [] { close(STDOUT_FILENO); });
}

// A sound text of `size` bytes, a multiple of 64 KiB, each the low byte of its
// address.
std::string textOf(unsigned size) {
  std::string text;
  for (unsigned at = 0; at < size; at += 0x80) {
    if (at % 0x10000 == 0) {
      text += baseLine(4, at >> 16U);
    }
    std::string data;
    for (unsigned i = at; i < at + 0x80; ++i) {
      data += static_cast<char>(i);
    }
    text += dataLine(at & 0xFFFFU, data);
  }
  return text + endLine;
}

TEST_F(Qorhex, DumpEndsAtTheFirstPieceThatFails) {
  folder.write("fw.hex", textOf(0x20000));
  folder.write("dump", "");
  expectFailure({"-x", "fw.hex"}, "qorhex: standard output: File too large\n",
                [] {
                  const rlimit limit{100000, 100000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  dup2(open("dump", O_WRONLY), STDOUT_FILENO);
                });
  EXPECT_EQ(folder.read("dump").size(), 100000U);
}

TEST_F(Qorhex, DumpIsNotHeldInMemory) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer holds back what was freed";
#endif
  constexpr unsigned size = 0x80000;
  folder.write("fw.hex", textOf(size));
  const processResult_t listing = run({"fw.hex"});
  const processResult_t dump = run({"-x1", "fw.hex"});
  EXPECT_EQ(dump.out.size(), size * 20);
  EXPECT_EQ(dump.out.substr(dump.out.size() - 40),
            "0x0007fffe: fe  |.|\n"
            "0x0007ffff: ff  |.|\n");
  EXPECT_LT(dump.peakMemory - listing.peakMemory, 2 << 10);
}

}  // namespace
