// SPDX-License-Identifier: MIT
//
// Texts that qorhex refuses, and how it shows where.

#include <cstring>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/sanitizers.h"
#include "tools/qorhex_program.h"

namespace {

struct badText_t {
  const char* name;
  std::string text;
  std::string place;
  std::string reason;
  std::string line;
};

class QorhexBadText : public Qorhex,
                      public testing::WithParamInterface<badText_t> {};

// The caret stands below the column.
std::string caretLine(const std::string& place) {
  const unsigned long column = std::stoul(place.substr(place.find(':') + 1));
  return std::string(column - 1, ' ') + "^\n";
}

TEST_P(QorhexBadText, IsRefusedWithPlaceReasonAndLine) {
  const badText_t& tested = GetParam();
  folder.write("bad.hex", tested.text);
  const std::string message = "bad.hex:" + tested.place +
                              ": error: " + tested.reason + '\n' + tested.line +
                              '\n' + caretLine(tested.place);
  expectRefusal({"-b", "fw.bin", "bad.hex"}, message);
  expectRefusal({"-o", ".", "bad.hex"}, message);
  expectRefusal({"bad.hex"}, message);
  expectRefusal({"--force", "bad.hex"}, message);
}

const std::string noStartCode =
    "no start code ':' at the beginning; every "
    "line is a record, comments are not understood";
const std::string noDigit =
    "not a hex digit; behind ':' stand 0 to 9 and A to "
    "F alone";
const std::string noEnd =
    "the text ends without an end record; the file was "
    "cut, or :00000001FF is missing";

std::string shorter(const std::string& characters, int instead) {
  return "shorter than its byte count says, " + characters + " instead of " +
         std::to_string(instead) +
         "; the line was cut, or its byte count is wrong";
}

std::string longer(const std::string& characters, int instead) {
  return "longer than its byte count says, " + characters + " instead of " +
         std::to_string(instead) +
         "; lines were joined, or the byte count is wrong";
}

const badText_t badTexts[] = {
    {"NoStartCode", abcdLine + "0401000041424344F1\n" + endLine, "2:1",
     noStartCode, "0401000041424344F1"},
    {"NoStartCodeBehindBlanks", abcdLine + " \t0401000041424344F1\n", "2:3",
     noStartCode, " .0401000041424344F1"},
    {"NoStartCodeComesFirst", "x401000041G24344F1\n", "1:1", noStartCode,
     "x401000041G24344F1"},
    {"NoHexDigit", abcdLine + "\n:0401000041G24344F1\r\n" + endLine, "3:12",
     noDigit, ":0401000041G24344F1"},
    {"NoHexDigitComesBeforeTooMany", abcdLine + ":0401000041424344F1 FF0G\n",
     "2:20", noDigit, ":0401000041424344F1 FF0G"},
    {"NoHexDigitComesBeforeTooFew", ":0401G0\n", "1:6", noDigit, ":0401G0"},
    {"NoHexDigitInTheByteCount", ":G401000041424344F1\n", "1:2", noDigit,
     ":G401000041424344F1"},
    {"SignInTheByteCount", ":-101000041424344F1\n", "1:2", noDigit,
     ":-101000041424344F1"},
    {"BlankInside", ":04010000 41424344F1\n", "1:10", noDigit,
     ":04010000 41424344F1"},
    {"ByteOfTheUpperHalf",
     ":0401000041\xC3\xBC"
     "24344F1\n",
     "1:12", noDigit, ":0401000041..24344F1"},
    {"NulInside",
     dataLine(0, "a") + std::string(":04010000\0001424344F1\n", 20), "2:10",
     noDigit, ":04010000.1424344F1"},
    {"EscapeSequenceInside", ":0401\x1b[31m0000\n", "1:6", noDigit,
     ":0401.[31m0000"},
    {"SecondStartCode", "::0401000041424344F1\n", "1:2", noDigit,
     "::0401000041424344F1"},
    {"StartCodeOnly", ":\n", "1:2", shorter("1 character", 11), ":"},
    {"TenCharacters", ":000000000\n", "1:11", shorter("10 characters", 11),
     ":000000000"},
    {"ShorterThanItsByteCount", ":0401000041424344\n", "1:18",
     shorter("17 characters", 19), ":0401000041424344"},
    {"ShorterByOneCharacter", ":0401000041424344F \t\r\n", "1:19",
     shorter("18 characters", 19), ":0401000041424344F ."},
    {"LongerThanItsByteCount", " :0401000041424344F100\n", "1:21",
     longer("21 characters", 19), " :0401000041424344F100"},
    {"WrongChecksum", abcdLine + abcdLine + ":0401000041424344F2\n", "3:18",
     "wrong checksum 0xf2, the bytes give 0xf1; if the bytes are right, write "
     "F1",
     ":0401000041424344F2"},
    {"WrongChecksumOfTheLongestRecord",
     dataLine(0, std::string(255, 'a')).substr(0, 519) + "00\n", "1:520",
     "wrong checksum 0x00, the bytes give 0x62; if the bytes are right, write "
     "62",
     dataLine(0, std::string(255, 'a')).substr(0, 519) + "00"},
    {"WrongChecksumComesBeforeTheType", ":02000006616236\n", "1:14",
     "wrong checksum 0x36, the bytes give 0x35; if the bytes are right, write "
     "35",
     ":02000006616236"},
    {"OneCharacterMoreThanTheLongestRecord",
     ":FF" + std::string(519, '0') + '\n', "1:522",
     longer("522 characters", 521), ":FF" + std::string(519, '0')},
    {"UnsupportedType", abcdLine + "\xEF\xBB\xBF" + "\n", "2:1", noStartCode,
     "..."},
    {"UnsupportedTypeSix", abcdLine + recordLine(6, 0, "ab"), "2:8",
     "unsupported record type 0x06; 00 to 05 are understood",
     ":02000006616235"},
    {"LargestType", '\t' + recordLine(255, 0, ""), "1:9",
     "unsupported record type 0xff; 00 to 05 are understood", ".:000000FF01"},
    {"EndWithData", recordLine(1, 0, "a"), "1:2",
     "a record of type 0x01 has 0 data bytes, not 1; the byte count or the "
     "type is wrong",
     ":01000001619D"},
    {"ShortSegmentAddress", recordLine(2, 0, "a"), "1:2",
     "a record of type 0x02 has 2 data bytes, not 1; the byte count or the "
     "type is wrong",
     ":01000002619C"},
    {"ShortStartSegment", recordLine(3, 0, "ab"), "1:2",
     "a record of type 0x03 has 4 data bytes, not 2; the byte count or the "
     "type is wrong",
     ":02000003616238"},
    {"LongLinearAddress", recordLine(4, 0, "abc"), "1:2",
     "a record of type 0x04 has 2 data bytes, not 3; the byte count or the "
     "type is wrong",
     ":03000004616263D3"},
    {"EmptyStartLinear", recordLine(5, 0, ""), "1:2",
     "a record of type 0x05 has 4 data bytes, not 0; the byte count or the "
     "type is wrong",
     ":00000005FB"},
    {"SecondStartAddress",
     recordLine(5, 0, "main") + recordLine(3, 0, "segm") +
         recordLine(5, 0, "main") + recordLine(5, 0, "Main"),
     "4:10",
     "a second start address 0x4d61696e, that of line 1 is 0x6d61696e; "
     "keep one of them",
     ":040000054D61696E72"},
    {"PassesTheLastAddress",
     baseLine(4, 0xFFFF) + dataLine(0xFFFD, "abcd") + endLine, "2:16",
     "the record passes the address 0xffffffff; cut it there, or correct its "
     "address",
     ":04FFFD006162636476"},
    {"EmptyFile", "", "1:1", noEnd, ""},
    {"BlankLinesOnly", "\n\r\n \n", "3:2", noEnd, " "},
    {"NoEndRecord", abcdLine + dataLine(0x100, "ABCD"), "2:20", noEnd,
     ":0401000041424344F1"},
    {"NoEndRecordBeforeBlankLines", abcdLine + "\n \r\n\n", "4:1", noEnd, ""},
    {"NoEndRecordAndNoLineFeed", abcdLine + ":0401000041424344F1 ", "2:21",
     noEnd, ":0401000041424344F1 "},
    {"DamagedEndRecord", abcdLine + ":00000001FE\n", "2:10",
     "wrong checksum 0xfe, the bytes give 0xff; if the bytes are right, write "
     "FF",
     ":00000001FE"},
    {"ByteOrderMarkInTheSecondLine", abcdLine + "\xEF\xBB\xBF" + abcdLine,
     "2:1", noStartCode, "...:0400000061626364" + abcdLine.substr(17, 2)},
    {"DamageBehindAByteOrderMark", "\xEF\xBB\xBF:0x\n", "1:6", noDigit,
     "...:0x"},
    {"CarriageReturnsAsLineEnds", ":0401000041424344F1\r:00000001FF\r", "1:20",
     noDigit, ":0401000041424344F1.:00000001FF"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexBadText, testing::ValuesIn(badTexts),
                         [](const auto& tested) { return tested.param.name; });

struct longLine_t {
  const char* name;
  std::string text;
  std::string place;
  std::string reason;
  std::string shown;
  std::size_t caret;
};

class QorhexLongLine : public Qorhex,
                       public testing::WithParamInterface<longLine_t> {};

TEST_P(QorhexLongLine, IsShownAroundTheColumn) {
  const longLine_t& tested = GetParam();
  folder.write("bad.hex", abcdLine + tested.text);
  expectRefusal({"bad.hex"}, "bad.hex:" + tested.place + ": error: " +
                                 tested.reason + '\n' + tested.shown + '\n' +
                                 std::string(tested.caret, ' ') + "^\n");
}

std::string zeros(std::size_t count) {
  return std::string(count, '0');
}

const longLine_t longLines[] = {
    {"OfTheLongestLengthThatIsShownWhole", ':' + zeros(530) + '\n', "2:12",
     longer("531 characters", 11), ':' + zeros(530), 11},
    {"LongerByOne", ':' + zeros(531) + '\n', "2:12",
     longer("532 characters", 11), ':' + zeros(79), 11},
    {"DamageInTheMiddle", ':' + zeros(400) + 'x' + zeros(400) + '\n', "2:402",
     noDigit, zeros(40) + 'x' + zeros(39), 40},
    {"DamageAtTheEnd", ':' + zeros(600) + "x\n", "2:602", noDigit,
     zeros(79) + 'x', 79},
    {"MissingBehindManyBlanks", blanks(600) + ":00\n", "2:604",
     shorter("3 characters", 11), blanks(77) + ":00", 80},
    {"DigitsWithoutEnd", ':' + zeros(large) + '\n', "2:12",
     longer("300001 characters", 11), ':' + zeros(79), 11},
    {"DigitsAndNoLineFeed", ':' + zeros(large), "2:12",
     longer("300001 characters", 11), ':' + zeros(79), 11},
    {"StrangeFarBehind", ':' + zeros(large) + 'x' + zeros(large) + '\n',
     "2:300002", noDigit, zeros(40) + 'x' + zeros(39), 40},
    {"StrangeAtTheEnd", ':' + zeros(large) + "x\n", "2:300002", noDigit,
     zeros(79) + 'x', 79},
    {"TwoRecordsInOneLine",
     abcdLine.substr(0, 19) + blanks(large) + abcdLine.substr(0, 19) + '\n',
     "2:20", noDigit, abcdLine.substr(0, 19) + blanks(61), 19},
    {"NoStartCodeBehindManyBlanks", blanks(large) + "no record\n", "2:300001",
     noStartCode, blanks(71) + "no record", 71},
    {"WrongChecksumBehindManyBlanks",
     blanks(large) + ":0401000041424344F2" + blanks(large) + '\n', "2:300018",
     "wrong checksum 0xf2, the bytes give 0xf1; if the bytes are right, write "
     "F1",
     blanks(23) + ":0401000041424344F2" + blanks(38), 40},
    {"MissingBetweenManyBlanks", blanks(large) + ":00" + blanks(large) + '\n',
     "2:300004", shorter("3 characters", 11), blanks(37) + ":00" + blanks(40),
     40},
    {"NoEndRecord", abcdLine.substr(0, 19) + blanks(large), "2:300020", noEnd,
     blanks(80), 80},
    {"NoEndRecordBehindABlankLine", blanks(large) + "\r\n", "2:300001", noEnd,
     blanks(80), 80},
    {"NoStartCodeBeforeACarriageReturn", blanks(large) + "X\r\n", "2:300001",
     noStartCode, blanks(79) + "X", 79},
    {"ShorterBeforeACarriageReturn", blanks(large) + ":0401000041424344F\r\n",
     "2:300019", shorter("18 characters", 19),
     blanks(62) + ":0401000041424344F", 80},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexLongLine, testing::ValuesIn(longLines),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, ARecordMayStandInALineOfAnyLength) {
  const std::string record = dataLine(0, "abcd").substr(0, 19);
  expectImage(blanks(large) + record + '\n' + endLine, "abcd");
  expectImage(record + blanks(large) + '\n' + endLine, "abcd");
  expectImage("\xEF\xBB\xBF" + blanks(large) + record + blanks(large) + "\n" +
                  blanks(large) + endLine,
              "abcd");
  expectImage(
      blanks(large) + '\n' + record + '\n' + endLine + blanks(large) + '\n',
      "abcd");
}

TEST_F(Qorhex, LinesBehindALongOneKeepTheirNumbers) {
  folder.write("bad.hex", blanks(large) + abcdLine + blanks(large) + "\nx\n");
  expectRefusal({"bad.hex"},
                "bad.hex:3:1: error: no start code ':' at the beginning; every "
                "line is a record, comments are not understood\n"
                "x\n"
                "^\n");
}

// The rest of it is no line.
TEST_F(Qorhex, ADamagedLongLineIsOneProblem) {
  folder.write("bad.hex", "x" + std::string(large, 'y') + '\n' + abcdLine +
                              endLine + "z" + std::string(large, 'y') + '\n');
  const processResult_t result = run({"--check", "bad.hex"});
  EXPECT_EQ(
      result.out,
      "bad.hex:1:1: error: no start code ':' at the beginning; every "
      "line is a record, comments are not understood\n"
      "x" +
          std::string(79, 'y') +
          "\n^\n"
          "bad.hex:4:1: warning: 1 line behind the end record is left out\n"
          "z" +
          std::string(79, 'y') +
          "\n^\n"
          "bad.hex: 1 error, 1 warning\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 3);
}

TEST_F(Qorhex, ALongLineTakesNoMemory) {
#ifdef QORUTIL_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer needs memory of its own";
#endif
  folder.write("fw.hex", abcdLine + endLine);
  folder.write("long.hex",
               blanks(4 << 20) + abcdLine + blanks(4 << 20) + '\n' + endLine);
  const long peak = run({"fw.hex"}).peakMemory;
  const processResult_t result = run({"long.hex"});
  EXPECT_EQ(result.status, 0);
  EXPECT_LT(result.peakMemory, peak + 1024);
}

TEST_F(Qorhex, AHugeLineIsRefusedWithoutBeingRead) {
  folder.write("huge.hex", dataLine(0, "a") + ":");
  ASSERT_EQ(truncate(folder.path("huge.hex").c_str(), off_t{1} << 40U), 0);
  expectRefusal({"huge.hex"},
                "huge.hex:2:2: error: not a hex digit; behind "
                "':' stand 0 to 9 and A to F alone\n:" +
                    std::string(79, '.') + "\n ^\n");
}

TEST_F(Qorhex, AnEndlessDeviceIsRefusedAtOnce) {
  expectRefusal({"/dev/zero"},
                "/dev/zero:1:1: error: these are raw bytes; objcopy -I binary "
                "-O ihex --change-addresses=<address> makes Intel HEX of "
                "them\n" +
                    std::string(80, '.') + "\n^\n");
}

TEST_F(Qorhex, AMissingFileIsNamed) {
  expectFailure({"none.hex"}, "qorhex: none.hex: No such file or directory\n");
}

TEST_F(Qorhex, AFolderIsNoFile) {
  expectFailure({"."}, "qorhex: .: Is a directory\n");
}

TEST_F(Qorhex, AnUnreadableFileIsNamed) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root reads everything";
  }
  folder.write("fw.hex", sampleText);
  chmod(folder.path("fw.hex").c_str(), 0);
  expectFailure({"fw.hex"}, "qorhex: fw.hex: Permission denied\n");
}

}  // namespace
