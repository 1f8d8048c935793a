// SPDX-License-Identifier: MIT
//
// Texts that are no plain ones and that qorhex reads.

#include <cstring>
#include <string>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

TEST_F(Qorhex, PlainTextIsReadAsItStands) {
  expectImage(sampleText, "ABCD");
  expectImage(":0401000041424344F1\r\n:00000001FF\r\n", "ABCD");
  expectImage(":0401000041424344F1  \n:00000001FF  \n", "ABCD");
  expectImage(":0401000041424344F1\n:00000001FF", "ABCD");
  expectImage(dataLine(4, "efgh") + dataLine(0, "abcd") + endLine, "abcdefgh");
}

TEST_F(Qorhex, BlanksBeforeTheLineEndAreSkipped) {
  for (const char* blank : {"\t", " ", "\t ", " \t\r", "\r\r"}) {
    const std::string ending = std::string(blank) + '\n';
    expectImage(":0401000041424344F1" + ending + ":00000001FF\n", "ABCD");
    expectImage(":0401000041424344F1\n:00000001FF" + ending, "ABCD");
    expectImage(":0401000041424344F1\n:00000001FF" + std::string(blank),
                "ABCD");
  }
}

TEST_F(Qorhex, LowerCaseDigitsAreRead) {
  expectImage(":040100006a6b6c6d4d\n:00000001ff\n", "jklm");
}

TEST_F(Qorhex, AnyEndRecordEndsTheFile) {
  expectImage(dataLine(0, "abcd") + ":00000001ff\n", "abcd");
  expectImage(dataLine(0, "abcd") + "  :00000001FF\n", "abcd");
  expectImage(dataLine(0, "abcd") + recordLine(1, 0x1234, ""), "abcd");
}

TEST_F(Qorhex, BlanksTabsAndBlankLinesAreSkipped) {
  expectImage("\n\t\n \r\n\t " + dataLine(0, "ab") + "\r\r\n :020002006364" +
                  dataLine(2, "cd").substr(13, 2) + " \t\r\n" + endLine,
              "abcd");
}

TEST_F(Qorhex, AByteOrderMarkIsSkipped) {
  expectImage("\xEF\xBB\xBF" + dataLine(0, "abcd") + endLine, "abcd");
  expectImage(std::string("\xEF\xBB\xBF\n") + endLine, "");
}

TEST_F(Qorhex, ZeroLengthDataIsLeftOut) {
  expectImage(dataLine(0, "ab") + dataLine(2, "") + dataLine(2, "cd") +
                  dataLine(0, "") + endLine,
              "abcd");
}

TEST_F(Qorhex, LinesBehindTheEndRecordAreCountedInAWarning) {
  expectImage(sampleText + std::string("\n \n"), "ABCD");
  expectImage(sampleText + std::string("\n rubbish\t\n\r\n"), "ABCD",
              "fw.hex:4:1: warning: 1 line behind the end record is left out\n"
              " rubbish.\n"
              "^\n");
  expectImage(
      sampleText + dataLine(0, "x") + "\x1A" + "\n" + endLine + "no line feed",
      "ABCD",
      "fw.hex:3:1: warning: 4 lines behind the end record are left "
      "out\n"
      ":010000007887\n"
      "^\n");
  expectImage(sampleText + std::string(large, 'x') + "\n\n" +
                  std::string(large, ' ') + "y",
              "ABCD",
              "fw.hex:3:1: warning: 2 lines behind the end record are left "
              "out\n" +
                  std::string(80, 'x') + "\n^\n");
  expectImage(sampleText + std::string(large, ' ') + "y", "ABCD",
              "fw.hex:3:1: warning: 1 line behind the end record is left "
              "out\n" +
                  std::string(80, ' ') + "\n^\n");
}

TEST_F(Qorhex, StartAddressesAreToldWithVerbose) {
  const std::string text = dataLine(0, "abcd") +
                           recordLine(5, 0, {0x08, 0, 0x01, '\x99'}) +
                           recordLine(5, 0, {0x08, 0, 0x01, '\x99'}) + endLine;
  expectImage(text, "abcd");
  expectImage(text, "abcd",
              "qorhex: fw.hex: start address 0x08000199\n"
              "qorhex: fw.bin: written\n",
              {"-v"});
  expectImage(recordLine(3, 0, {'\xF0', 0, 0x12, 0x34}) + text, "abcd",
              "qorhex: fw.hex: start address 0x000f1234 (segment 0xf000, "
              "offset 0x1234)\n"
              "qorhex: fw.hex: start address 0x08000199\n"
              "qorhex: fw.bin: written\n",
              {"--verbose"});
}

TEST_F(Qorhex, SegmentAddressesBecomePlainOnes) {
  folder.write("fw.hex", baseLine(2, 0x1234) + dataLine(0x10, "ab") +
                             baseLine(2, 0xFFFF) + dataLine(0xFFF0, "cd") +
                             endLine);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00012350  0x00012351  2  2B\n"
            "    1  0x0010ffe0  0x0010ffe1  2  2B\n"
            "total                          4  4B\n");
}

TEST_F(Qorhex, OffsetsWrapInsideASegment) {
  folder.write("fw.hex",
               baseLine(2, 0x1000) + dataLine(0xFFFE, "abcd") + endLine);
  EXPECT_EQ(run({"-o", ".", "fw.hex"}).status, 0);
  EXPECT_EQ(folder.read("fw-00010000.bin"), "cd");
  EXPECT_EQ(folder.read("fw-0001fffe.bin"), "ab");
  EXPECT_THAT(folder.names(),
              ElementsAre("fw-00010000.bin", "fw-0001fffe.bin", "fw.hex"));
}

TEST_F(Qorhex, OffsetsRunOnUnderALinearAddress) {
  const std::string text = dataLine(0xFFFE, "abcd");
  expectImage(text + endLine, "abcd");
  expectImage(baseLine(2, 0) + baseLine(4, 1) + text + endLine, "abcd");
}

TEST_F(Qorhex, ARecordMayEndWithTheLastAddress) {
  expectImage(baseLine(4, 0xFFFF) + dataLine(0xFFFC, "abcd") + endLine, "abcd");
}

TEST_F(Qorhex, RecordsOfAllLengthsAreRead) {
  std::string image;
  std::string text = recordLine(5, 0, "main");
  for (unsigned length = 1; length < 256; ++length) {
    std::string data(length, static_cast<char>(length));
    data.back() = '\n';
    text += baseLine(4, static_cast<unsigned>(image.size() >> 16U)) +
            dataLine(image.size() & 0xFFFFU, data);
    image += data;
  }
  expectImage(text + endLine, image);
}

}  // namespace
