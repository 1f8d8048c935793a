// SPDX-License-Identifier: MIT
//
// The program qorhex with --check.

#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

class QorhexCheck : public QorhexProgram {
 protected:
  // Expects what is told about the text `text`, and nothing else.
  void expectCheck(const std::string& text, int status,
                   const std::string& out) const {
    folder.write("fw.hex", text);
    expectRun({"--check", "fw.hex"}, status, out);
    EXPECT_THAT(folder.names(), ElementsAre("fw.hex"));
  }
};

TEST_F(QorhexCheck, SoundFilesHaveTheirSummaryToo) {
  expectCheck(dataLine(0, "abcd") + endLine, 0,
              "fw.hex: 0 errors, 0 warnings\n");
  expectCheck(endLine, 0, "fw.hex: 0 errors, 0 warnings\n");
  expectCheck(endLine + "x\n", 0,
              "fw.hex:2:1: warning: 1 line behind the end record is left out\n"
              "x\n"
              "^\n"
              "fw.hex: 0 errors, 1 warning\n");
}

TEST_F(QorhexCheck, EveryDamageIsToldAtItsPlace) {
  expectCheck(
      "no record\n"
      ":0400000041424344F1\n"
      "\n"
      "  :04000000414243g4F2\n"
      ":0400000041424344F2 0\n"
      ":04000000414243F1\n"
      ":0400000041424344F20\r\n" +
          recordLine(6, 0, "a") + recordLine(5, 0, "abc") +
          recordLine(5, 0, "abcd") + recordLine(5, 0, "abce") +
          upperLine(0xffff) + dataLine(0xfffe, "abc") + dataLine(0, "abcd") +
          ":00000001FE",
      3,
      "fw.hex:1:1: error: no start code ':' at the beginning; every line is a "
      "record, comments are not understood\n"
      "no record\n"
      "^\n"
      "fw.hex:2:18: error: wrong checksum 0xf1, the bytes give 0xf2; if the "
      "bytes are right, write F2\n"
      ":0400000041424344F1\n"
      "                 ^\n"
      "fw.hex:4:18: error: not a hex digit; behind ':' stand 0 to 9 and A to F "
      "alone\n"
      "  :04000000414243g4F2\n"
      "                 ^\n"
      "fw.hex:5:20: error: not a hex digit; behind ':' stand 0 to 9 and A to F "
      "alone\n"
      ":0400000041424344F2 0\n"
      "                   ^\n"
      "fw.hex:6:18: error: shorter than its byte count says, 17 characters "
      "instead of 19; the line was cut, or its byte count is wrong\n"
      ":04000000414243F1\n"
      "                 ^\n"
      "fw.hex:7:20: error: longer than its byte count says, 20 characters "
      "instead of 19; lines were joined, or the byte count is wrong\n"
      ":0400000041424344F20\n"
      "                   ^\n"
      "fw.hex:8:8: error: unsupported record type 0x06; 00 to 05 are "
      "understood\n"
      ":010000066198\n"
      "       ^\n"
      "fw.hex:9:2: error: a record of type 0x05 has 4 data bytes, not 3; the "
      "byte count or the type is wrong\n"
      ":03000005616263D2\n"
      " ^\n"
      "fw.hex:11:10: error: a second start address 0x61626365, that of line "
      "10 is 0x61626364; keep one of them\n"
      ":04000005616263656C\n"
      "         ^\n"
      "fw.hex:13:14: error: the record passes the address 0xffffffff; cut it "
      "there, or correct its address\n"
      ":03FFFE00616263DA\n"
      "             ^\n"
      "fw.hex:15:10: error: wrong checksum 0xfe, the bytes give 0xff; if the "
      "bytes are right, write FF\n"
      ":00000001FE\n"
      "         ^\n"
      "fw.hex:15:12: error: the text ends without an end record; the file was "
      "cut, or :00000001FF is missing\n"
      ":00000001FE\n"
      "           ^\n"
      "fw.hex: 12 errors, 0 warnings\n");
}

TEST_F(QorhexCheck, ConflictsComeByAddressBehindAllDamage) {
  expectCheck(dataLine(0x20, "abcd") + dataLine(0x10, "efgh") +
                  dataLine(0x22, "cDDe") + dataLine(0x10, "EFgh") + "x\n" +
                  dataLine(0x13, "H") + endLine,
              3,
              "fw.hex:5:1: error: no start code ':' at the beginning; every "
              "line is a record, comments are not understood\n"
              "x\n"
              "^\n"
              "fw.hex:4:10: error: byte 0x45 at 0x00000010 conflicts with 0x65 "
              "of fw.hex:2, 2 bytes in all; --force accepts that\n"
              "fw.hex:6:10: error: byte 0x48 at 0x00000013 conflicts with 0x68 "
              "of fw.hex:2, 1 byte in all; --force accepts that\n"
              "fw.hex:6:10: error: byte 0x48 at 0x00000013 conflicts with 0x68 "
              "of fw.hex:4, 1 byte in all; --force accepts that\n"
              "fw.hex:3:12: error: byte 0x44 at 0x00000023 conflicts with 0x64 "
              "of fw.hex:1, 1 byte in all; --force accepts that\n"
              "fw.hex: 5 errors, 0 warnings\n");
}

// A record that wraps inside its segment is two pieces, but one record.
TEST_F(QorhexCheck, RecordsThatWrapAreOnePairToo) {
  const std::string segment = recordLine(2, 0, {0x10, 0});
  expectCheck(segment + dataLine(0xfffe, "abcdef") + dataLine(0xffff, "BCD") +
                  "\n" + dataLine(0xfffd, "?Abcd") + dataLine(1, "XY") +
                  endLine,
              3,
              "fw.hex:3:12: error: byte 0x43 at 0x00010000 conflicts with 0x63 "
              "of fw.hex:2, 3 bytes in all; --force accepts that\n"
              "fw.hex:5:16: error: byte 0x63 at 0x00010000 conflicts with 0x43 "
              "of fw.hex:3, 3 bytes in all; --force accepts that\n"
              "fw.hex:6:10: error: byte 0x58 at 0x00010001 conflicts with 0x64 "
              "of fw.hex:2, 2 bytes in all; --force accepts that\n"
              "fw.hex:6:10: error: byte 0x58 at 0x00010001 conflicts with 0x44 "
              "of fw.hex:3, 1 byte in all; --force accepts that\n"
              "fw.hex:6:10: error: byte 0x58 at 0x00010001 conflicts with 0x64 "
              "of fw.hex:5, 1 byte in all; --force accepts that\n"
              "fw.hex:5:12: error: byte 0x41 at 0x0001fffe conflicts with 0x61 "
              "of fw.hex:2, 1 byte in all; --force accepts that\n"
              "fw.hex: 6 errors, 0 warnings\n");
}

TEST_F(QorhexCheck, BehindADamagedAddressDataIsCheckedForFormAlone) {
  const std::string warning =
      "warning: data behind this line is checked for form alone, until a "
      "record says where it goes\n";
  const std::string checkTwo =
      ":020000040001FA\n"
      "             ^\n";
  // Nothing is said of the bytes that would conflict; the second damaged
  // address is one more error, but changes nothing.
  expectCheck(dataLine(0, "abcd") + ":020000040001FA\n" + dataLine(0, "ABCD") +
                  ":04000000414243g4F2\n" + ":020000040001FA\n" +
                  dataLine(0, "EFGH") + upperLine(0) + dataLine(3, "D") +
                  endLine,
              3,
              "fw.hex:2:14: error: wrong checksum 0xfa, the bytes give 0xf9; "
              "if the bytes are right, write F9\n" +
                  checkTwo + "fw.hex:2:14: " + warning + checkTwo +
                  "fw.hex:4:16: error: not a hex digit; behind ':' stand 0 to "
                  "9 and A to F alone\n"
                  ":04000000414243g4F2\n"
                  "               ^\n"
                  "fw.hex:5:14: error: wrong checksum 0xfa, the bytes give "
                  "0xf9; if the bytes are right, write F9\n" +
                  checkTwo +
                  "fw.hex:8:10: error: byte 0x44 at 0x00000003 conflicts with "
                  "0x64 of fw.hex:1, 1 byte in all; --force accepts that\n"
                  "fw.hex: 4 errors, 1 warning\n");
}

TEST_F(QorhexCheck, ADamagedLineWhoseTypeIsKnownIsNoAddress) {
  expectCheck(
      dataLine(0, "abcd") + ":01000000BBFF\n" + dataLine(0, "ABcd") + endLine,
      3,
      "fw.hex:2:12: error: wrong checksum 0xff, the bytes give 0x44; if the "
      "bytes are right, write 44\n"
      ":01000000BBFF\n"
      "           ^\n"
      "fw.hex:3:10: error: byte 0x41 at 0x00000000 conflicts with 0x61 "
      "of fw.hex:1, 2 bytes in all; --force accepts that\n"
      "fw.hex: 2 errors, 0 warnings\n");
}

TEST_F(QorhexCheck, OfALongLineTheCharactersAroundThePlaceAreShown) {
  const std::string digits(300000, '0');
  expectCheck(dataLine(0, "a") + ":" + digits + "\n" + "x\n" + endLine, 3,
              "fw.hex:2:12: error: longer than its byte count says, 300001 "
              "characters instead of 11; lines were joined, or the byte count "
              "is wrong\n:" +
                  digits.substr(0, 79) + "\n" + std::string(11, ' ') +
                  "^\n"
                  "fw.hex:3:1: error: no start code ':' at the beginning; "
                  "every line is a record, comments are not understood\n"
                  "x\n"
                  "^\n"
                  "fw.hex: 2 errors, 0 warnings\n");
}

TEST_F(QorhexCheck, EveryFileHasItsProblemsAndItsSummary) {
  folder.write("good.hex", dataLine(0, "abcd") + endLine);
  folder.write("bad.hex", "x\ny\n" + endLine + "z\n");
  folder.write("\x1b[2J.hex", endLine);
  expectRun({"-c", "good.hex", "bad.hex", "nix.hex", ".", "\x1b[2J.hex"}, 4,
            "good.hex: 0 errors, 0 warnings\n"
            "bad.hex:1:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "x\n"
            "^\n"
            "bad.hex:2:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "y\n"
            "^\n"
            "bad.hex:4:1: warning: 1 line behind the end record is left out\n"
            "z\n"
            "^\n"
            "bad.hex: 2 errors, 1 warning\n"
            "\\x1b[2J.hex: 0 errors, 0 warnings\n",
            "qorhex: nix.hex: No such file or directory\n"
            "qorhex: .: Is a directory\n");
  expectRun({"-c", "good.hex", "bad.hex"}, 3,
            run({"-c", "good.hex"}).out + run({"-c", "bad.hex"}).out);
}

TEST_F(QorhexCheck, OptionsThatChooseActBeforeTheSummary) {
  folder.write("fw.hex", dataLine(0, "abcd") + dataLine(2, "CD") + endLine);
  expectRun({"-c", "--force", "--range=0x100+1", "fw.hex"}, 0,
            "fw.hex:2:10: warning: byte 0x43 at 0x00000002 conflicts with 0x63 "
            "of fw.hex:1, 2 bytes in all; accepted (--force)\n"
            "qorhex: fw.hex: warning: no data in the ranges\n"
            "fw.hex: 0 errors, 2 warnings\n",
            "qorhex: fw.hex: 2 conflicting bytes accepted (--force)\n");
}

TEST_F(QorhexCheck, WhatForceAcceptsIsAWarningWithBothPlaces) {
  folder.write("fw.hex", dataLine(0, "abcd") + dataLine(2, "CD") +
                             dataLine(3, "d") + endLine);
  const std::string sum =
      "qorhex: fw.hex: 2 conflicting bytes accepted (--force)\n";
  expectRun({"--check", "--force", "fw.hex"}, 0,
            "fw.hex:2:10: warning: byte 0x43 at 0x00000002 conflicts with 0x63 "
            "of fw.hex:1, 2 bytes in all; accepted (--force)\n"
            "fw.hex:3:10: warning: byte 0x64 at 0x00000003 conflicts with 0x44 "
            "of fw.hex:2, 1 byte in all; accepted (--force)\n"
            "fw.hex: 0 errors, 2 warnings\n",
            sum);
  // Elsewhere the sum is enough.
  expectRun({"--force", "fw.hex"}, 0, run({"--force", "fw.hex"}).out, sum);
}

TEST_F(QorhexCheck, StandardInputIsCalledByItsName) {
  folder.write("fw.hex", "x\n" + endLine);
  const std::string path = folder.path("fw.hex");
  expectRun({"-c", "-"}, 3,
            "<stdin>:1:1: error: no start code ':' at the beginning; every "
            "line is a record, comments are not understood\n"
            "x\n"
            "^\n"
            "<stdin>: 1 error, 0 warnings\n",
            {}, [&] {
              ::close(0);
              static_cast<void>(::open(path.c_str(), O_RDONLY));
            });
}

TEST_F(QorhexCheck, AnOutputThatDoesNotArriveIsStatusFour) {
  folder.write("fw.hex", "x\n" + endLine);
  folder.write("good.hex", endLine);
  for (const char* file : {"fw.hex", "good.hex"}) {
    expectRun({"-c", file}, 4, {},
              "qorhex: standard output: No space left on device\n", [] {
                ::close(1);
                static_cast<void>(::open("/dev/full", O_WRONLY));
              });
  }
}

// Faults of several kinds, many of each, between sound lines.
TEST_F(QorhexCheck, AThousandFaultsAreAllNamed) {
  std::string text;
  std::string expected;
  for (unsigned i = 0; i < 1000; ++i) {
    std::string line = dataLine(16 * i, "0123456789abcdef");
    const std::string place = "fw.hex:" + std::to_string(2 * i + 1) + ':';
    if (i % 2 == 0) {
      line[20] = 'x';
      expected += place +
                  "21: error: not a hex digit; behind ':' stand 0 to 9 "
                  "and A to F alone\n" +
                  line + std::string(20, ' ') + "^\n";
    } else {
      line.erase(41, 2);
      expected += place +
                  "42: error: shorter than its byte count says, 41 characters "
                  "instead of 43; the line was cut, or its byte count is "
                  "wrong\n" +
                  line + std::string(41, ' ') + "^\n";
    }
    text += line + dataLine(0x8000 + 16 * i, "fedcba9876543210");
  }
  expectCheck(text + endLine, 3,
              expected + "fw.hex: 1000 errors, 0 warnings\n");
}

}  // namespace
