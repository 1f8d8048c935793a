// SPDX-License-Identifier: MIT
//
// The program qorhex with --range, --fill and --pad.

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

class QorhexChoosing : public QorhexProgram {
 protected:
  QorhexChoosing() {
    folder.write("fw.hex", dataLine(0x10, "abcdefgh") +
                               dataLine(0x20, "ijklmnop") + endLine);
  }

  // Expects what --binary gives, and nothing said but `err`.
  void expectBinary(std::vector<std::string> options, const std::string& bytes,
                    const std::string& err = {}) const {
    options.insert(options.end(), {"-b", "out.bin", "fw.hex"});
    expectRun(options, 0, {}, err);
    EXPECT_EQ(folder.read("out.bin"), bytes);
  }
};

TEST_F(QorhexChoosing, BothFormsOfARangeTakeTheSame) {
  for (const char* range : {"--range=0x12-0x15", "--range=0x12+4",
                            "--range=18-21", "--range=18+0x4"}) {
    expectRun({range, "fw.hex"}, 0,
              "   no  first       last        size\n"
              "    0  0x00000012  0x00000015  4  4B\n"
              "total                          4  4B\n");
    expectBinary({range}, "cdef");
  }
}

TEST_F(QorhexChoosing, RangesAreAUnionInAnyOrder) {
  expectRun({"--range=0x24-0x25", "--range=0x14+2", "--range=0x12+3",
             "--range=0x24+1", "fw.hex"},
            0,
            "   no  first       last        size\n"
            "    0  0x00000012  0x00000015  4  4B\n"
            "    1  0x00000024  0x00000025  2  2B\n"
            "total                          6  6B\n");
}

TEST_F(QorhexChoosing, EveryOutputTakesTheRangesOnly) {
  expectRun(
      {"--range=0x12-0x21", "-x", "-r", "-o", ".", "-b", "all.bin",
       "--fill=0x2e", "fw.hex"},
      0,
      "0x00000012: 68 67 66 65 64 63                                |hgfedc|\n\n"
      "0x00000020: 6a 69                                            |ji|\n");
  EXPECT_EQ(folder.read("fw-00000012.bin"), "hgfedc");
  EXPECT_EQ(folder.read("fw-00000020.bin"), "ji");
  EXPECT_EQ(folder.read("all.bin"), "hgfedc........ji");
}

TEST_F(QorhexChoosing, AHoleInASegmentMakesTwo) {
  expectRun({"-o", ".", "--range=0x10+2", "--range=0x14+2", "fw.hex"}, 0, {});
  EXPECT_THAT(folder.names(),
              ElementsAre("fw-00000010.bin", "fw-00000014.bin", "fw.hex"));
  EXPECT_EQ(folder.read("fw-00000014.bin"), "ef");
}

TEST_F(QorhexChoosing, LeftOutBytesAreCountedUnderVerbose) {
  expectRun({"-v", "--range=0x12+1", "fw.hex"}, 0,
            "   no  first       last        size\n"
            "    0  0x00000012  0x00000012  1  1B\n"
            "total                          1  1B\n",
            "qorhex: fw.hex: 15 bytes outside of the ranges left out\n");
}

TEST_F(QorhexChoosing, WhatIsLeftOutIsCheckedAllTheSame) {
  folder.write("bad.hex", dataLine(0, "abcd") + dataLine(0x100, "efgh") +
                              dataLine(0x100, "efgH") + endLine);
  expectRun({"--range=0+4", "bad.hex"}, 3, {},
            "bad.hex:3:16: error: byte 0x48 at 0x00000103 conflicts with 0x68 "
            "of bad.hex:2, 1 byte in all; --force accepts that\n");
}

TEST_F(QorhexChoosing, RangesWithoutDataAreToldAndGiveAnEmptyFile) {
  const std::string warning =
      "qorhex: fw.hex: warning: no data in the ranges\n";
  expectRun({"--range=0x18-0x1f", "fw.hex"}, 0, "total  0\n", warning);
  expectBinary({"--range=0x18-0x1f"}, "", warning);
  expectBinary({"--range=0x18-0x1a", "--pad"}, "\xff\xff\xff", warning);
  expectRun({"--range=0x18-0x1f", "-o", ".", "fw.hex"}, 0, {}, warning);
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex", "out.bin"));
}

TEST_F(QorhexChoosing, AHostileNameIsEscapedInTheWarning) {
  folder.write("\x1b[2J.hex", endLine);
  expectRun({"--range=0-1", "\x1b[2J.hex"}, 0, "total  0\n",
            "qorhex: \\x1b[2J.hex: warning: no data in the ranges\n");
}

TEST_F(QorhexChoosing, FillStandsInGapsOnly) {
  expectBinary({}, "abcdefgh\xff\xff\xff\xff\xff\xff\xff\xffijklmnop");
  expectBinary({"--fill=0x2e"}, "abcdefgh........ijklmnop");
  expectBinary({"--fill=0", "--range=0x16-0x20"},
               std::string("gh\0\0\0\0\0\0\0\0i", 11));
}

TEST_F(QorhexChoosing, PadCoversAllOfTheRanges) {
  expectBinary({"--pad", "--fill=46", "--range=0x0e-0x11", "--range=0x26+4"},
               "..ab....................op..");
  expectBinary({"--pad", "--fill=46", "--range=0x10-0x11"}, "ab");
}

TEST_F(QorhexChoosing, PadIsBoundByTheLargestSize) {
  expectRun({"--pad", "--range=0-0xffffffff", "-b", "out.bin", "fw.hex"}, 3, {},
            "qorhex: fw.hex: the image spans 4294967296 bytes (4GiB) from "
            "0x00000000 to 0xffffffff, more than the 268435456 (256MiB) that "
            "--max-size allows for --binary\n");
  EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
}

TEST_F(QorhexChoosing, TheLastAddressBelongsToRanges) {
  folder.write("top.hex",
               upperLine(0xFFFF) + dataLine(0xFFFC, "wxyz") + endLine);
  expectRun(
      {"--range=0xfffffffe-0xffffffff", "-x", "top.hex"}, 0,
      "0xfffffffe: 79 7a                                            |yz|\n");
}

TEST_F(QorhexChoosing, TheLibrarysImageIsCroppedToo) {
  expectRun(
      {"--strict", "--range=0x11+2", "-x", "fw.hex"}, 0,
      "0x00000011: 62 63                                            |bc|\n");
}

}  // namespace
