// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <dlfcn.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/capture.h"

namespace {

// How often strtol was called.
long conversions = 0;

using Strtol = long (*)(const char*, char**, int);

const Strtol libcStrtol = [] {
  void* const symbol = dlsym(RTLD_NEXT, "strtol");
  Strtol function = nullptr;
  std::memcpy(&function, &symbol, sizeof function);
  return function;
}();

}  // namespace

// They win over those of libc, for the library too; newer headers of glibc give
// the function the second name.
extern "C" long countedStrtol(const char* text, char** end,
                              int base) __asm__("strtol");
extern "C" long countedNewStrtol(const char* text, char** end,
                                 int base) __asm__("__isoc23_strtol");

long countedStrtol(const char* text, char** end, int base) {
  ++conversions;
  return libcStrtol(text, end, base);
}

long countedNewStrtol(const char* text, char** end, int base) {
  return countedStrtol(text, end, base);
}

namespace {

using Record = IntelHexFile::hexfileline_t;
using Bytes = std::vector<unsigned char>;

static_assert(std::is_same_v<decltype(Record::type), std::uint8_t>);
static_assert(std::is_same_v<decltype(Record::extAddress), std::uint16_t>);
static_assert(std::is_same_v<decltype(Record::address), std::uint16_t>);
static_assert(std::is_same_v<decltype(Record::count), std::uint64_t>);
static_assert(std::is_same_v<decltype(Record::data), Bytes>);
static_assert(std::is_copy_constructible_v<Record>);
static_assert(std::is_copy_assignable_v<Record>);

constexpr std::uint16_t untouched = 0xABCD;

const std::string nothing;
const std::string zeroWarning =
    "<err>#ERROR: line.data.size() is zero\n<flush>";
const std::string checksumError = "<err>#ERROR: checksum error.\n<flush>";
const std::string tooShort =
    "<out>void IntelHexFile::parseLine(std::__cxx11::string&, "
    "IntelHexFile::hexfileline_t&): hexline to short\n<flush>";

std::string wrongLength(const std::string& lengths) {
  return "<out>void IntelHexFile::parseLine(std::__cxx11::string&, "
         "IntelHexFile::hexfileline_t&): second unexpected end of line\n"
         "<flush>" +
         lengths + "\n<flush>";
}

// A text that may hold NUL bytes.
template <std::size_t size>
std::string bytes(const char (&text)[size]) {
  return {text, size - 1};
}

// What one call leaves behind.
struct Parsed {
  std::string cleaned;
  Record record;
  std::string transcript;
};

Parsed parse(const std::string& text) {
  Parsed parsed{text, {}, {}};
  parsed.record.type = 0x77;
  parsed.record.extAddress = untouched;
  IntelHexFile image;
  const Capture capture;
  image.parseLine(parsed.cleaned, parsed.record);
  parsed.transcript = capture.transcript();
  return parsed;
}

struct AcceptedCase {
  const char* name;
  std::string text;
  std::string cleaned;
  int type;
  int address;
  Bytes data;
  std::string transcript;
};

class AcceptedLine : public testing::TestWithParam<AcceptedCase> {};

TEST_P(AcceptedLine, FillsTheRecord) {
  const AcceptedCase& expected = GetParam();
  const Parsed parsed = parse(expected.text);
  EXPECT_EQ(parsed.cleaned, expected.cleaned);
  EXPECT_EQ(parsed.record.type, expected.type);
  EXPECT_EQ(parsed.record.extAddress, untouched);
  EXPECT_EQ(parsed.record.address, expected.address);
  EXPECT_EQ(parsed.record.count, expected.data.size());
  EXPECT_EQ(parsed.record.data, expected.data);
  EXPECT_EQ(parsed.transcript, expected.transcript);
}

// A sound line that needs no clean-up and gives no message.
AcceptedCase plain(const char* name, const std::string& text, int type,
                   int address, const Bytes& data) {
  return {name, text, text, type, address, data, nothing};
}

const Bytes fourBytes{1, 2, 3, 4};

const AcceptedCase acceptedCases[] = {
    plain("DataRecord", ":0400000001020304F2", 0, 0, fourBytes),
    plain("OneByte", ":0100000055AA", 0, 0, {0x55}),
    plain("HighestAddress", ":01FFFF005AA7", 0, 0xFFFF, {0x5A}),
    plain("AddressMostSignificantDigitFirst", ":011234005A5F", 0, 0x1234,
          {0x5A}),
    plain("LowerCaseDigits", ":03abcd00defabcf1", 0, 0xABCD,
          {0xDE, 0xFA, 0xBC}),
    plain("MixedCaseDigits", ":03aBCd00DeFabCF1", 0, 0xABCD,
          {0xDE, 0xFA, 0xBC}),
    plain("ExtendedLinearAddress", ":020000040001F9", 4, 0, {0, 1}),
    plain("ExtendedSegmentAddress", ":020000021000EC", 2, 0, {0x10, 0}),
    plain("StartSegmentAddress", ":0400000300003800C1", 3, 0, {0, 0, 0x38, 0}),
    plain("StartLinearAddress", ":04000005000000CD2A", 5, 0, {0, 0, 0, 0xCD}),
    plain("HighestOtherType", ":010000FE0001", 0xFE, 0, {0}),
    plain("EndRecordWithData", ":01000001AA54", 1, 0, {0xAA}),

    {"BlanksAroundAndCarriageReturnAtTheEnd", "  :0400000001020304F2\r  ",
     ":0400000001020304F2", 0, 0, fourBytes, nothing},
    {"CarriageReturnsAnywhere", "\r\r:04\r00000001020\r304F\r2\r",
     ":0400000001020304F2", 0, 0, fourBytes, nothing},

    {"ZeroCountWithType", ":00000001FF", ":00000001FF", 1, 0, {}, zeroWarning},
    {"ZeroCountWithLowerCaseType",
     ":00000001ff",
     ":00000001ff",
     1,
     0,
     {},
     zeroWarning},
    {"ZeroCountWithAddress",
     ":00001000F0",
     ":00001000F0",
     0,
     0x10,
     {},
     zeroWarning},
    {"CountOfAnUnfinishedPrefixIsZero",
     ":0x001000F0",
     ":0x001000F0",
     0,
     0x10,
     {},
     zeroWarning},

    plain("PlusSignInTheCount", ":+400000001020304F2", 0, 0, fourBytes),
    plain("BlankInTheCount", ": 400000001020304F2", 0, 0, fourBytes),
    plain("TabInTheCount", ":\t400000001020304F2", 0, 0, fourBytes),
    plain("CountOfOneDigitOnly", ":4G00000001020304F2", 0, 0, fourBytes),
    plain("MinusSignInTheAddress", ":01-0010000FE", 0, 0xFFFF, {0}),
    plain("PrefixInTheAddress", ":010x1F0000E0", 0, 0x1F, {0}),
    plain("PlusSignInTheAddress", ":01+0100000EF", 0, 0x10, {0}),
    plain("PlusSignInTheType", ":020000+40001F9", 4, 0, {0, 1}),
    plain("MinusSignInTheType", ":010000-F000E", 0xF1, 0, {0}),
    plain("MinusSignInTheData", ":01000000-100", 0, 0, {0xFF}),
    plain("NoHexDigitInTheData", ":01000000G0FF", 0, 0, {0}),
    plain("OnlyTheFirstIsAHexDigit", ":010000001GFE", 0, 0, {1}),
    plain("HighBytesInTheData",
          ":01000000\xC3\xA4"
          "FF",
          0, 0, {0}),
    plain("NulByteInTheData",
          bytes(":01000000\0"
                "1FF"),
          0, 0, {0}),
    plain("NulByteBehindADigit", bytes(":010000001\0FE"), 0, 0, {1}),
    plain("MinusSignInTheChecksum", ":0100000001-2", 0, 0, {1}),
};

INSTANTIATE_TEST_SUITE_P(Table, AcceptedLine, testing::ValuesIn(acceptedCases),
                         [](const auto& tested) { return tested.param.name; });

struct RejectedCase {
  const char* name;
  std::string text;
  std::string cleaned;
  std::string transcript;
};

class RejectedLine : public testing::TestWithParam<RejectedCase> {};

TEST_P(RejectedLine, LeavesType0xFF) {
  const RejectedCase& expected = GetParam();
  const Parsed parsed = parse(expected.text);
  EXPECT_EQ(parsed.record.type, 0xFF);
  EXPECT_EQ(parsed.record.extAddress, untouched);
  EXPECT_EQ(parsed.cleaned, expected.cleaned);
  EXPECT_EQ(parsed.transcript, expected.transcript);
}

RejectedCase uncleaned(const char* name, const std::string& text,
                       const std::string& transcript) {
  return {name, text, text, transcript};
}

const RejectedCase rejectedCases[] = {
    uncleaned("Empty", "", tooShort),
    {"BlanksOnly", "     ", "", tooShort},
    {"CarriageReturnOnly", "\r", "", tooShort},
    {"CarriageReturnsAndBlanks", " \r \r ", " ", tooShort},
    uncleaned("TenCharacters", ":000000010", tooShort),
    {"ElevenCharactersWithTheirBlank", ":000000010 ", ":000000010", tooShort},
    {"ElevenCharactersWithTheirCarriageReturn", ":00000001F\r", ":00000001F",
     tooShort},
    uncleaned("NoStartCode", ";00000001FF", tooShort),
    uncleaned("NoStartCodeInALongLine", "10400000001020304F2", tooShort),
    uncleaned("TabsAreNotTrimmed", "\t:0400000001020304F2", tooShort),
    uncleaned("ByteOrderMark", "\xEF\xBB\xBF:0400000001020304F2", tooShort),
    uncleaned("NulByteInFront", bytes("\0:0400000001020304F2"), tooShort),
    {"BlankBehindALeadingCarriageReturn", "\r :0400000001020304F2",
     " :0400000001020304F2", tooShort},

    uncleaned("ZeroCountShortcut", ":0000000000", nothing),
    uncleaned("ZeroCountShortcutBeforeTheChecksum", ":00000000FF", nothing),
    uncleaned("ZeroCountShortcutBeforeTheLength", ":0000000000112233", nothing),
    uncleaned("ZeroCountShortcutWithMinusZeroType", ":000000-000", nothing),
    uncleaned("ZeroCountShortcutOfNoDigitsAtAll", ":zzzzzzzzzz", nothing),
    uncleaned("ZeroCountWithWrongChecksum", ":00000001FE",
              zeroWarning + "#ERROR: checksum error.\n<flush>"),
    uncleaned("ZeroCountWithWrongLength", ":00000001FF00",
              zeroWarning + wrongLength("11, 13")),

    uncleaned("MinusOneCount", ":-10000000102030405060708090A", nothing),
    uncleaned("MinusFifteenCount", ":-F00000000", nothing),

    uncleaned("EndsBehindAByteBeforeTheCount", ":04000000AABBCC", nothing),
    uncleaned("EndsBehindTheLastByte", ":02000000AABB", nothing),
    uncleaned("EndsBehindTheOnlyByte", ":0100000055", nothing),

    uncleaned("WrongChecksum", ":0400000001020304F3", checksumError),
    uncleaned("WrongDataByte", ":0400000001020305F2", checksumError),
    uncleaned("ChecksumWithoutHexDigits", ":0400000001020304xx", checksumError),
    uncleaned("FurtherByteBreaksTheChecksum", ":0400000001020304F201",
              checksumError),
    uncleaned("FurtherDigitBreaksTheChecksum", ":0400000001020304F21",
              checksumError),

    uncleaned("FurtherZeroPair", ":0100000055AA00", wrongLength("13, 15")),
    uncleaned("FurtherZeroDigit", ":0100000055AA0", wrongLength("13, 14")),
    uncleaned("FurtherText", ":0400000001020304F2 trailing",
              wrongLength("19, 28")),
    uncleaned("FurtherBytesThatAddUp", ":0100000055AA7F81",
              wrongLength("13, 17")),
    uncleaned("ChecksumOfOneDigit", ":01000000F0F", wrongLength("13, 12")),
    uncleaned("DataByteOfOneDigitAndNoChecksum", ":02000000EFF",
              wrongLength("15, 12")),
    {"BlanksBeforeTheCarriageReturnSurvive", ":0400000001020304F2  \r",
     ":0400000001020304F2  ", wrongLength("19, 21")},
};

INSTANTIATE_TEST_SUITE_P(Table, RejectedLine, testing::ValuesIn(rejectedCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(ParseLine, ThrowsWhereALineOfEvenLengthEndsInsideTheData) {
  for (const std::string text : {":04000000AABBC", ":0300000000A",
                                 ":FF00000000AA000", " :04000000AABBC\r "}) {
    std::string line = text;
    Record record;
    record.extAddress = untouched;
    IntelHexFile image;
    const Capture capture;
    EXPECT_THROW(image.parseLine(line, record), std::out_of_range) << text;
    EXPECT_EQ(record.type, 0xFF) << text;
    EXPECT_EQ(record.extAddress, untouched) << text;
    EXPECT_EQ(capture.transcript(), nothing) << text;
    EXPECT_EQ(line.find_first_of(" \r"), std::string::npos) << text;
  }
}

// A data byte begins beyond the end: the length is even and below 7 + 2 x
// count.
TEST(ParseLine, ThrowsForExactlyTheLinesInWhichADataByteBeginsBeyondTheEnd) {
  constexpr char digits[] = "0123456789ABCDEF";
  const Capture capture;
  for (std::size_t count = 0; count < 256; ++count) {
    for (std::size_t length = 11; length < 14 + 2 * count; ++length) {
      std::string line = ":..000100";
      line[1] = digits[count / 16];
      line[2] = digits[count % 16];
      line.resize(length, '0');
      bool thrown = false;
      try {
        Record record;
        IntelHexFile().parseLine(line, record);
      } catch (const std::out_of_range&) {
        thrown = true;
      }
      ASSERT_EQ(thrown, length % 2 == 0 && length < 7 + 2 * count) << line;
    }
  }
}

// How often parseLine() calls strtol for `text`.
long conversionsOf(const std::string& text) {
  const long before = conversions;
  parse(text);
  return conversions - before;
}

TEST(ParseLine, ConvertsNoFieldOfASoundLine) {
  EXPECT_EQ(conversionsOf(":0400000001020304F2"), 0);
  EXPECT_EQ(conversionsOf(":0400000001020304F2\r"), 0);
  EXPECT_EQ(conversionsOf(":020000040001f9"), 0);
}

// Head, data, and all bytes once more for their sum.
TEST(ParseLine, ConvertsTheFieldsOfAnyOtherLine) {
  EXPECT_EQ(conversionsOf(" :0400000001020304F2"), 3 + 4 + 9);
  EXPECT_EQ(conversionsOf(":0400000001020304F3"), 3 + 4 + 9);
  EXPECT_EQ(conversionsOf(":0400000001020304"), 3 + 4);
  EXPECT_EQ(conversionsOf(":00000001FF"), 3 + 5);
}

TEST(ParseLine, ReadsTheLongestRecord) {
  std::string line = ":FF000000";
  Bytes data;
  for (unsigned byte = 0; byte < 255; ++byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    line += digits[byte / 16];
    line += digits[byte % 16];
    data.push_back(static_cast<unsigned char>(byte));
  }
  line += "80";
  const Parsed parsed = parse(line);
  EXPECT_EQ(parsed.record.type, 0);
  EXPECT_EQ(parsed.record.count, 255U);
  EXPECT_EQ(parsed.record.data, data);
  EXPECT_EQ(parsed.transcript, nothing);
}

TEST(ParseLine, AcceptsOneChecksumOutOf256ForEveryDataByte) {
  constexpr char digits[] = "0123456789abcdef";
  for (unsigned pair = 0; pair < 65536; ++pair) {
    std::string line = ":01000000....";
    for (unsigned digit = 0; digit < 4; ++digit) {
      line[9 + digit] = digits[pair >> (12 - 4 * digit) & 0xF];
    }
    const unsigned data = pair >> 8;
    const bool sound = ((1 + data + pair) & 0xFF) == 0;
    const Parsed parsed = parse(line);
    ASSERT_EQ(parsed.record.type, sound ? 0 : 0xFF) << line;
    ASSERT_EQ(parsed.record.data, Bytes{static_cast<unsigned char>(data)});
    ASSERT_EQ(parsed.transcript, sound ? nothing : checksumError) << line;
  }
}

TEST(ParseLine, WritesTheLengthsInDecimalOnAStreamSetToHex) {
  std::string line = ":0100000055AA00";
  Record record;
  IntelHexFile image;
  const Capture capture;
  std::cout << std::hex << std::showbase;
  image.parseLine(line, record);
  EXPECT_EQ(capture.transcript(), wrongLength("13, 15"));
}

TEST(ParseLine, LeavesAnImageAlone) {
  IntelHexFile image;
  std::string line = ":0400000001020304F2";
  Record record;
  image.parseLine(line, record);
  EXPECT_FALSE(image.hasData());
}

TEST(ParseLine, ForgetsTheTypeOfTheLineBefore) {
  IntelHexFile image;
  Record record;
  std::string sound = ":020000040001F9";
  image.parseLine(sound, record);
  ASSERT_EQ(record.type, 4);
  record.data.clear();
  std::string silent = ":0000000000";
  image.parseLine(silent, record);
  EXPECT_EQ(record.type, 0xFF);
}

// The blanks make up for the digits that are missing.
TEST(ParseLine, LeavesTheOldDataBehindALineThatEndsEarly) {
  IntelHexFile image;
  Record record;
  record.data = {0xAA, 0xBB, 0xCC, 0xDD};
  std::string line = ":04000000010203    ";
  image.parseLine(line, record);
  EXPECT_EQ(record.type, 0xFF);
  EXPECT_EQ(record.data, (Bytes{1, 2, 3, 0xDD}));
}

Record recordAt(std::uint16_t extAddress, std::uint16_t address,
                const Bytes& data = {}) {
  Record record;
  record.extAddress = extAddress;
  record.address = address;
  record.count = data.size();
  record.data = data;
  return record;
}

TEST(RecordOrder, IsThatOfThe32BitAddresses) {
  constexpr std::uint16_t halves[] = {0, 1, 0x7FFF, 0x8000, 0xFFFE, 0xFFFF};
  for (const std::uint16_t upper : halves) {
    for (const std::uint16_t lower : halves) {
      for (const std::uint16_t otherUpper : halves) {
        for (const std::uint16_t otherLower : halves) {
          const Record left = recordAt(upper, lower);
          const Record right = recordAt(otherUpper, otherLower);
          EXPECT_EQ(left < right,
                    std::uint32_t{upper} * 65536 + lower <
                        std::uint32_t{otherUpper} * 65536 + otherLower);
        }
      }
    }
  }
}

TEST(ParseLine, LeavesNoTypeWhenMemoryRunsOut) {
  std::string text = ":0400000001020304F2";
  Record record{};
  bool failed = false;
  try {
    const FailingAllocation failing(0);
    IntelHexFile().parseLine(text, record);
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  EXPECT_TRUE(failed);
  EXPECT_EQ(record.type, 0xFF);
}

TEST(RecordOrder, LooksAtNothingButTheAddress) {
  Record left = recordAt(1, 2, {1, 2, 3});
  Record right = recordAt(1, 2);
  left.type = 4;
  right.count = 7;
  EXPECT_FALSE(left < right);
  EXPECT_FALSE(right < left);
}

TEST(RecordOrder, KeepsTheFirstOfTwoRecordsWithOneAddress) {
  std::set<Record> records;
  records.insert(recordAt(1, 2, {1, 2, 3}));
  records.insert(recordAt(1, 2, {9}));
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records.begin()->data, (Bytes{1, 2, 3}));
}

TEST(RecordValue, CopiesItsBytes) {
  const Record source = recordAt(1, 2, {1, 2, 3});
  Record copy = source;
  copy.data[0] = 9;
  EXPECT_EQ(source.data, (Bytes{1, 2, 3}));
}

}  // namespace
