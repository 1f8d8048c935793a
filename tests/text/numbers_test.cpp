// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/digit_grouping.h"
#include "support/printed.h"

namespace {

using std::ios_base;

TEST(MakeString, IntWithoutFlagsIsDecimal) {
  EXPECT_EQ(makeString<int>(255, {}), "255");
  EXPECT_EQ(makeString<int>(-255, {}), "-255");
}

TEST(MakeString, IntFollowsBaseAndCase) {
  EXPECT_EQ(makeString<int>(255, ios_base::dec), "255");
  EXPECT_EQ(makeString<int>(255, ios_base::oct), "377");
  EXPECT_EQ(makeString<int>(255, ios_base::hex), "ff");
  EXPECT_EQ(makeString<int>(255, ios_base::hex | ios_base::uppercase), "FF");
  EXPECT_EQ(makeString<int>(255, ios_base::oct | ios_base::showbase), "0377");
  EXPECT_EQ(makeString<int>(255, ios_base::hex | ios_base::showbase), "0xff");
  EXPECT_EQ(makeString<int>(
                255, ios_base::hex | ios_base::showbase | ios_base::uppercase),
            "0XFF");
}

TEST(MakeString, ShowBaseLeavesZeroAlone) {
  EXPECT_EQ(makeString<int>(0, ios_base::hex | ios_base::showbase), "0");
}

TEST(MakeString, NegativeIntIsATwosComplementInHexadecimalAndOctal) {
  EXPECT_EQ(makeString<int>(-1, ios_base::hex), "ffffffff");
  EXPECT_EQ(makeString<int>(-1, ios_base::oct), "37777777777");
  EXPECT_EQ(makeString<int>(-1, ios_base::dec), "-1");
  EXPECT_EQ(makeString<int>(INT_MIN, ios_base::hex), "80000000");
  EXPECT_EQ(makeString<int>(INT_MIN, {}), "-2147483648");
  EXPECT_EQ(makeString<int>(INT_MAX, {}), "2147483647");
}

TEST(MakeString, ShowPositiveSignsIntAlone) {
  EXPECT_EQ(makeString<int>(255, ios_base::showpos), "+255");
  EXPECT_EQ(makeString<int>(0, ios_base::showpos), "+0");
  EXPECT_EQ(makeString<int>(255, ios_base::hex | ios_base::showpos), "ff");
  EXPECT_EQ(makeString<unsigned int>(255, ios_base::showpos), "255");
  EXPECT_EQ(makeString<unsigned short>(255, ios_base::showpos), "255");
}

TEST(MakeString, UnsignedIntIsNeverNegative) {
  EXPECT_EQ(makeString<unsigned int>(UINT_MAX, {}), "4294967295");
  EXPECT_EQ(makeString<unsigned int>(UINT_MAX, ios_base::hex), "ffffffff");
  EXPECT_EQ(
      makeString<unsigned int>(0xBEEF, ios_base::hex | ios_base::showbase),
      "0xbeef");
}

TEST(MakeString, LargestUnsignedShort) {
  EXPECT_EQ(makeString<unsigned short>(65535, ios_base::hex), "ffff");
  EXPECT_EQ(makeString<unsigned short>(65535, {}), "65535");
}

TEST(MakeString, EveryUnsignedShortInEveryBase) {
  for (unsigned int value = 0; value <= 0xFFFF; ++value) {
    const auto number = static_cast<unsigned short>(value);
    char text[64];
    std::snprintf(text, sizeof(text), "%u %x %o", value, value, value);
    ASSERT_EQ(makeString(number, ios_base::dec) + ' ' +
                  makeString(number, ios_base::hex) + ' ' +
                  makeString(number, ios_base::oct),
              text);
  }
}

TEST(MakeString, TwoBasesAreDecimal) {
  EXPECT_EQ(makeString<int>(255, ios_base::hex | ios_base::dec), "255");
  EXPECT_EQ(makeString<int>(255, ios_base::hex | ios_base::oct), "255");
}

TEST(MakeString, AlignmentAddsNoPadding) {
  EXPECT_EQ(makeString<int>(-1, ios_base::internal), "-1");
  EXPECT_EQ(makeString<int>(1, ios_base::left | ios_base::unitbuf), "1");
}

TEST(MakeString, TypeComesFromTheArgument) {
  const int number = 255;
  EXPECT_EQ(makeString(number, ios_base::hex), "ff");
  EXPECT_EQ(makeString(255U, ios_base::hex), "ff");
}

TEST(MakeString, FollowsTheGlobalLocaleAsAFreshStreamDoes) {
  const GlobalDigitGrouping grouping("\3");
  EXPECT_EQ(makeString<int>(-1234567, {}), "-1,234,567");
  EXPECT_EQ(makeString<unsigned int>(0xABCDEF, ios_base::hex), "abc,def");
  EXPECT_EQ(makeString<unsigned short>(65535, {}), "65,535");
}

std::string bitList(std::uint64_t bits, const char* separator) {
  return setBits2list<std::uint64_t>(bits, separator);
}

TEST(SetBits2list, NumbersAscend) {
  EXPECT_EQ(bitList(0x0B, ","), "0,1,3");
}

TEST(SetBits2list, ZeroGivesTheEmptyText) {
  EXPECT_EQ(bitList(0, ","), "");
  EXPECT_EQ(bitList(0, nullptr), "");
}

TEST(SetBits2list, EverySingleBitHasNoSeparator) {
  for (unsigned int bit = 0; bit < 64; ++bit) {
    EXPECT_EQ(bitList(UINT64_C(1) << bit, ","), std::to_string(bit));
  }
}

TEST(SetBits2list, AllBitsEndWith63) {
  std::string expected = "0";
  for (unsigned int bit = 1; bit < 64; ++bit) {
    expected += ", " + std::to_string(bit);
  }
  EXPECT_EQ(bitList(UINT64_MAX, ", "), expected);
}

TEST(SetBits2list, Every16BitWordAtBothEnds) {
  for (std::uint64_t word = 0; word <= 0xFFFF; ++word) {
    std::string low;
    std::string high;
    for (unsigned int bit = 0; bit < 16; ++bit) {
      if (((word >> bit) & 1) != 0) {
        low += (low.empty() ? "" : "|") + std::to_string(bit);
        high += (high.empty() ? "" : "|") + std::to_string(bit + 48);
      }
    }
    ASSERT_EQ(bitList(word, "|"), low);
    ASSERT_EQ(bitList(word << 48, "|"), high);
  }
}

TEST(SetBits2list, EmptySeparatorJoinsTheNumbers) {
  EXPECT_EQ(bitList(0x0B, ""), "013");
}

TEST(SetBits2list, NullSeparatorLeavesTheFirstNumber) {
  EXPECT_EQ(bitList(0x0B, nullptr), "0");
  EXPECT_EQ(bitList(UINT64_C(3) << 62, nullptr), "62");
}

TEST(SetBits2list, UnsignedLongGoesUpToItsLastBit) {
  EXPECT_EQ(setBits2list(0x0BUL, ","), "0,1,3");
  const int last = static_cast<int>(sizeof(unsigned long)) * CHAR_BIT - 1;
  EXPECT_EQ(setBits2list(1UL << last, ","), std::to_string(last));
}

using List = std::vector<std::pair<bool, const char*>>;

std::string listed(const List& list, const char* separator,
                   const char* emptyText) {
  return printed([&](std::ostream& os) {
    printSeparatedList(os, list, separator, emptyText);
    EXPECT_TRUE(os.good());
  });
}

TEST(PrintSeparatedList, SkipsWhatIsNotSelected) {
  EXPECT_EQ(listed({{true, "a"}, {false, "b"}, {true, "c"}}, "|", "none"),
            "a|c");
}

TEST(PrintSeparatedList, FirstSelectedEntryHasNoSeparatorInFront) {
  EXPECT_EQ(listed({{false, "a"}, {true, "b"}, {true, "c"}}, ", ", "none"),
            "b, c");
}

TEST(PrintSeparatedList, OneEntryHasNoSeparator) {
  EXPECT_EQ(listed({{true, "a"}}, "|", "none"), "a");
}

TEST(PrintSeparatedList, NoSelectionWritesItsText) {
  EXPECT_EQ(listed({{false, "a"}, {false, "b"}}, "|", "none"), "none");
}

TEST(PrintSeparatedList, EmptyListIsNoSelection) {
  EXPECT_EQ(listed({}, "|", "none"), "none");
}

TEST(PrintSeparatedList, NullEmptyTextWritesNothing) {
  EXPECT_EQ(listed({{false, "a"}}, "|", nullptr), "");
  EXPECT_EQ(listed({}, "|", nullptr), "");
}

TEST(PrintSeparatedList, NullSeparatorIsTheEmptyText) {
  EXPECT_EQ(listed({{true, "a"}, {true, "b"}}, nullptr, "none"), "ab");
}

TEST(PrintSeparatedList, EmptyTextsAreEntries) {
  EXPECT_EQ(listed({{true, ""}, {true, ""}}, "|", "none"), "|");
}

TEST(PrintSeparatedList, NullTextThatIsNotSelectedIsSkipped) {
  EXPECT_EQ(listed({{false, nullptr}, {true, "b"}}, "|", "none"), "b");
}

TEST(PrintSeparatedList, FirstNullTextSetsTheBadBitAndCountsAsSelected) {
  std::ostringstream os;
  printSeparatedList(os, {{true, nullptr}}, "|", "none");
  EXPECT_TRUE(os.bad());
  EXPECT_EQ(os.str(), "");
}

TEST(PrintSeparatedList, LaterNullTextSetsTheBadBitBehindItsSeparator) {
  std::ostringstream os;
  printSeparatedList(os, {{true, "a"}, {true, nullptr}, {true, "c"}}, "|",
                     "none");
  EXPECT_TRUE(os.bad());
  EXPECT_EQ(os.str(), "a|");
}

TEST(PrintSeparatedList, NullTextThrowsWhereTheStreamDoes) {
  std::ostringstream os;
  os.exceptions(ios_base::badbit);
  EXPECT_THROW(
      printSeparatedList(os, {{true, "a"}, {true, nullptr}}, "|", "none"),
      ios_base::failure);
  EXPECT_EQ(os.str(), "a|");
}

TEST(PrintSeparatedList, PendingWidthIsUsedUpInFrontOfTheFirstText) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(3);
  printSeparatedList(os, {{true, "abcd"}, {true, "e"}}, "|", "none");
  EXPECT_EQ(os.str(), "***abcd|e");
}

TEST(PrintSeparatedList, PendingWidthPadsTheTextForNoSelection) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(6);
  printSeparatedList(os, {}, "|", "none");
  EXPECT_EQ(os.str(), "none**");
}

TEST(PrintSeparatedList, PendingWidthStaysWhenNothingIsWritten) {
  std::ostringstream os;
  os << std::setw(6);
  printSeparatedList(os, {{false, "a"}}, "|", nullptr);
  EXPECT_EQ(os.width(), 6);
}

std::string unknown(int value) {
  std::ostringstream os;
  printUnknownEnum(os, value);
  return os.str();
}

TEST(PrintUnknownEnum, ValueIsHexadecimalWithoutLeadingZeros) {
  EXPECT_EQ(unknown(255), "<unknown: 0xff>");
  EXPECT_EQ(unknown(0), "<unknown: 0x0>");
  EXPECT_EQ(unknown(INT_MAX), "<unknown: 0x7fffffff>");
}

TEST(PrintUnknownEnum, NegativeValueIsATwosComplement) {
  EXPECT_EQ(unknown(-1), "<unknown: 0xffffffff>");
  EXPECT_EQ(unknown(INT_MIN), "<unknown: 0x80000000>");
}

TEST(PrintUnknownEnum, StreamIsBackInItsModeAndFill) {
  std::ostringstream os;
  os << std::uppercase << std::showbase << std::left << std::setfill('*');
  printUnknownEnum(os, 255);
  os << std::hex << std::setw(6) << 255 << std::dec << 255;
  EXPECT_EQ(os.str(), "<unknown: 0xff>0XFF**255");
}

TEST(PrintUnknownEnum, PendingWidthPadsTheFirstTextWithZeros) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(15);
  printUnknownEnum(os, 255);
  os << '|';
  EXPECT_EQ(os.str(), "000<unknown: 0xff>|");
}

TEST(PrintUnknownEnum, LocaleGroupsTheDigits) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale("\3"));
  printUnknownEnum(os, 0xABCDEF);
  EXPECT_EQ(os.str(), "<unknown: 0xabc,def>");
}

}  // namespace
