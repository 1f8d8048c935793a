// SPDX-License-Identifier: MIT
//
// The program qorhex with --long.

#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

#include "support/terminal.h"
#include "tools/qorhex_program.h"

namespace {

constexpr unsigned startSegment = 3;
constexpr unsigned startLinear = 5;

class QorhexLong : public QorhexProgram {
 protected:
  // 28 bytes at 0x08000100, four at 0x08018000.
  void writeTwoSegments() const {
    folder.write("fw.hex",
                 upperLine(0x0800) + dataLine(0x100, "Hello, firmware!") +
                     dataLine(0x110, "More of it.\n") + upperLine(0x0801) +
                     dataLine(0x8000, "\x01\x02\x03\x04") + endLine);
  }
};

const std::string twoSegmentsBar =
    '\n' + std::string(61, '#') + "/ /" + std::string(8, '#') + '\n';

TEST_F(QorhexLong, ShowsGapsChecksumsAndLines) {
  writeTwoSegments();
  expectRun(
      {"-l", "fw.hex"}, 0,
      "   no  first       last         size              crc-32      lines\n"
      "    0  0x08000100  0x0800011b     28         28B  0x051d6056  2-3\n"
      "    -  0x0800011c  0x08017fff  98020  95.7227KiB  gap\n"
      "    1  0x08018000  0x08018003      4          4B  0xb63cfbcd  5\n"
      "total                             32         32B\n" +
          twoSegmentsBar);
}

TEST_F(QorhexLong, LinesAreThoseOfTheBytesThatCount) {
  folder.write("fw.hex", dataLine(4, "efgh") + "\n" + dataLine(2, "cdef") +
                             dataLine(0, "ab") + endLine);
  expectRun({"-l", "fw.hex"}, 0,
            "   no  first       last        size      crc-32      lines\n"
            "    0  0x00000000  0x00000007     8  8B  0xaeef2a50  4-1\n"
            "total                             8  8B\n\n" +
                std::string(72, '#') + '\n');
}

// More than is written at once.
TEST_F(QorhexLong, ManySegmentsAreAllShown) {
  std::string text;
  std::string table =
      "   no  first       last        size         crc-32      lines\n";
  for (unsigned i = 0; i < 1000; ++i) {
    text += dataLine(2 * i, "1");
    char line[160];
    if (i != 0) {
      std::snprintf(line, sizeof line,
                    "    -  0x%08x  0x%08x     1     1B  gap\n", 2 * i - 1,
                    2 * i - 1);
      table += line;
    }
    std::snprintf(line, sizeof line,
                  "%5u  0x%08x  0x%08x     1     1B  0x83dcefb7  %u\n", i,
                  2 * i, 2 * i, i + 1);
    table += line;
  }
  folder.write("fw.hex", text + endLine);
  expectRun({"-l", "fw.hex"}, 0,
            table + "total                          1000  1000B\n\n" +
                std::string(72, '+') + '\n');
}

TEST_F(QorhexLong, ShowsStartAddresses) {
  folder.write("fw.hex",
               recordLine(startLinear, 0, "\x12\x34\x56\x78") +
                   recordLine(startSegment, 0, std::string("\x7E\0\0\1", 4)) +
                   endLine);
  expectRun({"-l", "fw.hex"}, 0,
            "total  0\n"
            "\n"
            "start address 0x12345678\n"
            "start address 0x0007e001 (segment 0x7e00, offset 0x0001)\n");
}

TEST_F(QorhexLong, NothingHasTheTotalAlone) {
  folder.write("fw.hex", endLine);
  expectRun({"-l", "fw.hex"}, 0, "total  0\n");
}

TEST_F(QorhexLong, StrictHasNoLines) {
  writeTwoSegments();
  expectRun({"-l", "--strict", "fw.hex"}, 0,
            "   no  first       last         size              crc-32\n"
            "    0  0x08000100  0x0800011b     28         28B  0x051d6056\n"
            "    -  0x0800011c  0x08017fff  98020  95.7227KiB  gap\n"
            "    1  0x08018000  0x08018003      4          4B  0xb63cfbcd\n"
            "total                             32         32B\n" +
                twoSegmentsBar);
}

TEST_F(QorhexLong, ShowsWhatTheRangesLeave) {
  writeTwoSegments();
  expectRun({"-l", "--range=0x0800010e-0x08000111", "fw.hex"}, 0,
            "   no  first       last        size      crc-32      lines\n"
            "    0  0x0800010e  0x08000111     4  4B  0x8ce9b97b  2-3\n"
            "total                             4  4B\n\n" +
                std::string(72, '#') + '\n');
}

TEST_F(QorhexLong, ShowsTheImageBeforeItIsReversed) {
  folder.write("fw.hex", dataLine(0, "123456789") + endLine);
  const std::string table =
      "   no  first       last        size      crc-32      lines\n"
      "    0  0x00000000  0x00000008     9  9B  0xcbf43926  1\n"
      "total                             9  9B\n\n" +
      std::string(72, '#') + '\n';
  expectRun({"-l", "fw.hex"}, 0, table);
  expectRun({"-l", "-r", "-b", "out.bin", "fw.hex"}, 0, table);
  EXPECT_EQ(folder.read("out.bin"), "987654321");
}

TEST_F(QorhexLong, EachOfSeveralFilesHasItsName) {
  folder.write("a\x1b.hex", endLine);
  folder.write("b.hex", endLine);
  expectRun({"-l", "a\x1b.hex", "b.hex"}, 0,
            "a\\x1b.hex:\n"
            "total  0\n"
            "b.hex:\n"
            "total  0\n");
}

TEST_F(QorhexLong, WideNumbersKeepTheColumns) {
  folder.write("fw.hex", dataLine(0, "a") + upperLine(0xFFFF) +
                             dataLine(0xFFFF, "b") + endLine);
  expectRun({"-l", "fw.hex"}, 0,
            "   no  first       last              size        crc-32      "
            "lines\n"
            "    0  0x00000000  0x00000000           1    1B  0xe8b7be43  "
            "1\n"
            "    -  0x00000001  0xfffffffe  4294967294  4GiB  gap\n"
            "    1  0xffffffff  0xffffffff           1    1B  0x71beeff9  "
            "3\n"
            "total                                   2    2B\n"
            "\n" +
                std::string(35, '#') + "/ /" + std::string(34, '#') + '\n');
}

TEST_F(QorhexLong, TheBarIsAsWideAsTheTerminal) {
  folder.write("fw.hex", dataLine(0, "a") + endLine);
  PseudoTerminal terminal(31);
  const processResult_t result =
      run({"-l", "fw.hex"}, [&terminal] { terminal.become(STDOUT_FILENO); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(terminal.text(),
            "   no  first       last        size      crc-32      lines\r\n"
            "    0  0x00000000  0x00000000     1  1B  0xe8b7be43  1\r\n"
            "total                             1  1B\r\n"
            "\r\n" +
                std::string(31, '#') + "\r\n");
}

TEST_F(QorhexLong, ShowsRegionsAndTheirUse) {
  writeTwoSegments();
  folder.write("board.map",
               "app   0x08018000+0x1000\n"
               "boot  0x08000000+0x18000  # all below\n"
               "ram   0x20000000+4\n");
  expectRun(
      {"-l", "--map=board.map", "fw.hex"}, 0,
      "   no  first       last         size              crc-32      lines  "
      "region\n"
      "    0  0x08000100  0x0800011b     28         28B  0x051d6056  2-3    "
      "boot\n"
      "    -  0x0800011c  0x08017fff  98020  95.7227KiB  gap\n"
      "    1  0x08018000  0x08018003      4          4B  0xb63cfbcd  5      "
      "app\n"
      "total                             32         32B\n"
      "\n"
      "region  first       last         size  used\n"
      "boot    0x08000000  0x08017fff  98304    28    0.0%\n"
      "app     0x08018000  0x08018fff   4096     4    0.0%\n"
      "ram     0x20000000  0x20000003      4     0    0.0%\n"
      "\n"
      "...+/ /+" +
          std::string(60, '.') + "/ /.\n");
}

TEST_F(QorhexLong, ASegmentCanHaveSeveralRegions) {
  folder.write("fw.hex", dataLine(0, "123456789") + endLine);
  folder.write("board.map", "a 0-5\nb.2 6-7\nlonger_name 8+1000\n");
  expectRun({"-l", "--map=board.map", "fw.hex"}, 0,
            "   no  first       last        size      crc-32      lines  "
            "region\n"
            "    0  0x00000000  0x00000008     9  9B  0xcbf43926  1      "
            "a+b.2+longer_name\n"
            "total                             9  9B\n"
            "\n"
            "region       first       last        size  used\n"
            "a            0x00000000  0x00000005     6     6  100.0%\n"
            "b.2          0x00000006  0x00000007     2     2  100.0%\n"
            "longer_name  0x00000008  0x000003ef  1000     1    0.1%\n"
            "\n"
            "+" +
                std::string(71, '.') + '\n');
}

TEST_F(QorhexLong, OnlyAFullRegionHasAHundredPercent) {
  folder.write("fw.hex", dataLine(0, std::string(255, 'x')) +
                             dataLine(255, std::string(255, 'x')) +
                             dataLine(510, std::string(255, 'x')) +
                             dataLine(765, std::string(255, 'x')) +
                             dataLine(1020, "xyz") + endLine);
  folder.write("board.map", "all 0+1024\n");
  expectRun({"-l", "--map=board.map", "fw.hex"}, 0,
            "   no  first       last        size         crc-32      lines  "
            "region\n"
            "    0  0x00000000  0x000003fe  1023  1023B  0x9db90894  1-5    "
            "all\n"
            "total                          1023  1023B\n"
            "\n"
            "region  first       last        size  used\n"
            "all     0x00000000  0x000003ff  1024  1023   99.9%\n"
            "\n" +
                std::string(71, '#') + "+\n");
}

TEST_F(QorhexLong, AMapWithoutDataShowsItsRegions) {
  folder.write("fw.hex", endLine);
  folder.write("board.map", "rom 0+8\n");
  expectRun({"-l", "--map=board.map", "fw.hex"}, 0,
            "total  0\n"
            "\n"
            "region  first       last        size  used\n"
            "rom     0x00000000  0x00000007     8     0    0.0%\n"
            "\n" +
                std::string(72, '.') + '\n');
}

TEST_F(QorhexLong, MergedLinesHaveTheirFile) {
  folder.write("a.hex", dataLine(0, "ab") + dataLine(2, "cd") + endLine);
  folder.write("b\x1b.hex", dataLine(8, "x") + dataLine(4, "ef") + endLine);
  folder.write("board.map", "rom 0+16\n");
  expectRun({"-l", "--merge", "--map=board.map", "a.hex", "b\x1b.hex"}, 0,
            "   no  first       last        size      crc-32      "
            "lines                region\n"
            "    0  0x00000000  0x00000005     6  6B  0x4b8e39ef  "
            "a.hex:1-b\\x1b.hex:2  rom\n"
            "    -  0x00000006  0x00000007     2  2B  gap\n"
            "    1  0x00000008  0x00000008     1  1B  0x8cdc1683  "
            "b\\x1b.hex:1          rom\n"
            "total                             7  7B\n"
            "\n"
            "region  first       last        size  used\n"
            "rom     0x00000000  0x0000000f    16     7   43.7%\n"
            "\n" +
                std::string(27, '#') + std::string(9, '.') + "####+" +
                std::string(31, '.') + '\n');
}

}  // namespace
