// SPDX-License-Identifier: MIT
//
// The numbers, sizes and ranges that qorhex reads.

#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "image/numbers.h"
#include "reading/number_text.h"

namespace {

const std::string leadingZero =
    "a leading 0 before other digits; hexadecimal numbers begin with 0x";

// A value or the reason why there is none, as one text.
std::string told(const std::optional<std::uint64_t>& value,
                 const std::string& reason) {
  return value ? std::to_string(*value) : reason;
}

struct textCase_t {
  const char* name;
  std::string text;
  std::string told;
};

class NumberText : public testing::TestWithParam<textCase_t> {};

class SizeText : public testing::TestWithParam<textCase_t> {};

class ByteText : public testing::TestWithParam<textCase_t> {};

class RangeText : public testing::TestWithParam<textCase_t> {};

std::string nameOf(const testing::TestParamInfo<textCase_t>& tested) {
  return tested.param.name;
}

TEST_P(NumberText, IsANumberOrToldWhyNot) {
  std::string reason;
  const auto number = parseNumber(GetParam().text, reason);
  EXPECT_EQ(told(number, reason), GetParam().told);
}

const textCase_t numberCases[] = {
    {"Zero", "0", "0"},
    {"Decimal", "1024", "1024"},
    {"Hexadecimal", "0x1f", "31"},
    {"UpperCaseDigits", "0xABCDEF", "11259375"},
    {"UpperCasePrefix", "0X10", "16"},
    {"ZerosBehindThePrefix", "0x0008", "8"},
    {"LargestDecimal", "18446744073709551615", "18446744073709551615"},
    {"LargestHexadecimal", "0xffffffffffffffff", "18446744073709551615"},
    {"TooLargeDecimal", "18446744073709551616", "a number beyond 64 bits"},
    {"TooLargeHexadecimal", "0x10000000000000000", "a number beyond 64 bits"},
    {"LeadingZero", "010", leadingZero},
    {"TwoZeros", "00", leadingZero},
    {"LeadingZeroOfALargeOne", "099999999999999999999", leadingZero},
    {"Nothing", "", "not a number"},
    {"PrefixAlone", "0x", "not a number"},
    {"TwoPrefixes", "0x0x1", "not a number"},
    {"HexDigitsWithoutPrefix", "1f", "not a number"},
    {"ZeroAndLetters", "0ff", "not a number"},
    {"Plus", "+1", "not a number"},
    {"Minus", "-1", "not a number"},
    {"MinusBehindThePrefix", "0x-1", "not a number"},
    {"BlankBefore", " 1", "not a number"},
    {"BlankBehind", "1 ", "not a number"},
    {"NulBehind", std::string("1\0", 2), "not a number"},
    {"Fraction", "1.5", "not a number"},
    {"Unit", "1K", "not a number"},
};

INSTANTIATE_TEST_SUITE_P(Table, NumberText, testing::ValuesIn(numberCases),
                         nameOf);

TEST_P(SizeText, IsASizeOrToldWhyNot) {
  std::string reason;
  const auto size = parseSize(GetParam().text, reason);
  EXPECT_EQ(told(size, reason), GetParam().told);
}

const textCase_t sizeCases[] = {
    {"Bytes", "64", "64"},
    {"Kilo", "64K", "65536"},
    {"Mega", "64M", "67108864"},
    {"Giga", "64G", "68719476736"},
    {"Hexadecimal", "0x10K", "16384"},
    {"Nothing", "0", "0"},
    {"NothingOfAUnit", "0G", "0"},
    {"Largest", "17179869183G", "18446744072635809792"},
    {"TooLarge", "17179869184G", "a size beyond 64 bits"},
    {"TooLargeWithoutUnit", "18446744073709551616", "a size beyond 64 bits"},
    {"LeadingZero", "064K", leadingZero},
    {"UnitAlone", "K", "not a size"},
    {"LowerCaseUnit", "64k", "not a size"},
    {"TwoUnits", "1KK", "not a size"},
    {"UnitInBytes", "1KB", "not a size"},
    {"BlankBeforeTheUnit", "1 K", "not a size"},
    {"Empty", "", "not a size"},
};

INSTANTIATE_TEST_SUITE_P(Table, SizeText, testing::ValuesIn(sizeCases), nameOf);

TEST_P(ByteText, IsAByteOrToldWhyNot) {
  std::string reason;
  const auto byte = parseNumber(GetParam().text, 0, 255, reason);
  EXPECT_EQ(told(byte, reason), GetParam().told);
}

const textCase_t byteCases[] = {
    {"Least", "0", "0"},
    {"Most", "255", "255"},
    {"MostHexadecimal", "0xff", "255"},
    {"Above", "256", "not a number from 0 to 255"},
    {"FarAbove", "0x10000000000000000", "not a number from 0 to 255"},
    {"LeadingZero", "0377", leadingZero},
    {"Words", "ff", "not a number from 0 to 255"},
};

INSTANTIATE_TEST_SUITE_P(Table, ByteText, testing::ValuesIn(byteCases), nameOf);

TEST(NumberBetween, BelowTheLeastIsRefused) {
  std::string reason;
  EXPECT_FALSE(parseNumber("0", 1, 4096, reason));
  EXPECT_EQ(reason, "not a number from 1 to 4096");
  EXPECT_EQ(parseNumber("1", 1, 4096, reason), 1U);
}

TEST_P(RangeText, IsARangeOrToldWhyNot) {
  std::string reason;
  const auto range = parseRange(GetParam().text, reason);
  EXPECT_EQ(range ? addressText(range->first) + " " + addressText(range->last)
                  : reason,
            GetParam().told);
}

const std::string noRange =
    "not a range; write <first>-<last> or <first>+<size>";
const std::string noFirst = "the first address is not a number";
const std::string noLast = "the last address is not a number";
const std::string noSize = "the size is not a number, nK, nM or nG";
const std::string above = "ends above 0xffffffff";

const textCase_t rangeCases[] = {
    {"FirstAndLast", "0x08000000-0x0800ffff", "0x08000000 0x0800ffff"},
    {"FirstAndSize", "0x08000000+64K", "0x08000000 0x0800ffff"},
    {"Decimal", "16-31", "0x00000010 0x0000001f"},
    {"OneAddress", "5-5", "0x00000005 0x00000005"},
    {"OneByte", "5+1", "0x00000005 0x00000005"},
    {"AllAddresses", "0-0xffffffff", "0x00000000 0xffffffff"},
    {"AllBytes", "0+4G", "0x00000000 0xffffffff"},
    {"LastAddress", "0xffffffff-0xffffffff", "0xffffffff 0xffffffff"},
    {"LastByte", "0xffffffff+1", "0xffffffff 0xffffffff"},
    {"OneByteTooMany", "0xffffffff+2", above},
    {"AllAndOneByte", "1+4G", above},
    {"LastAbove", "0-0x100000000", above},
    {"FirstAbove", "0x100000000-0x100000001", above},
    {"FirstAboveWithSize", "0x100000000+1", above},
    {"SumBeyond64Bits", "0xffffffffffffffff+0xffffffffffffffff", above},
    {"LastBeyond64Bits", "0-0x10000000000000000", above},
    {"FirstBeyond64Bits", "0x10000000000000000-1", above},
    {"SizeBeyond64Bits", "0+17179869184G", above},
    {"LastBelowFirst", "16-15", "the last address is below the first"},
    {"SizeOfZero", "16+0", "a size of 0"},
    {"SizeOfZeroInKilo", "16+0K", "a size of 0"},
    {"LeadingZeroOfTheFirst", "010-0x20", leadingZero},
    {"LeadingZeroOfTheLast", "0x10-020", leadingZero},
    {"LeadingZeroOfTheSize", "0x10+020", leadingZero},
    {"Empty", "", noRange},
    {"OneNumber", "0x10", noRange},
    {"Colon", "0x10:0x20", noRange},
    {"SeparatorAlone", "-", noFirst},
    {"NoFirst", "-5", noFirst},
    {"NoLast", "5-", noLast},
    {"NoSize", "5+", noSize},
    {"WrongFirst", "a-b", noFirst},
    {"WrongFirstBeforeAZero", "a-07", noFirst},
    {"WrongLast", "0-b", noLast},
    {"WrongSize", "0+b", noSize},
    {"UnitOfTheFirst", "1K-2", noFirst},
    {"UnitOfTheLast", "1-2K", noLast},
    {"TwoSeparators", "1-2-3", noLast},
    {"BothSeparators", "1+2-3", noSize},
    {"Blanks", "1 - 2", noFirst},
    {"NegativeLast", "1--2", noLast},
};

INSTANTIATE_TEST_SUITE_P(Table, RangeText, testing::ValuesIn(rangeCases),
                         nameOf);

TEST(RangeText, RandomTextsGiveARangeOrAReason) {
  std::mt19937 generator(1);
  unsigned sound = 0;
  for (int round = 0; round < 100000; ++round) {
    std::string text;
    for (auto size = generator() % 12; size > 0; --size) {
      text += "01289af0x--++KMG "[generator() % 17];
    }
    std::string reason;
    const auto range = parseRange(text, reason);
    ASSERT_EQ(range.has_value(), reason.empty()) << text;
    if (range) {
      ++sound;
      ASSERT_LE(range->first, range->last) << text;
      ASSERT_LE(range->last, lastAddress) << text;
    }
  }
  EXPECT_GT(sound, 100U);
}

TEST(HexText, HasAsManyDigitsAsItNeedsOrMore) {
  EXPECT_EQ(hexText(0, 1), "0x0");
  EXPECT_EQ(hexText(0xABC, 2), "0xabc");
  EXPECT_EQ(hexText(0xABC, 16), "0x0000000000000abc");
  EXPECT_EQ(hexText(0xFEDCBA9876543210, 1), "0xfedcba9876543210");
}

TEST(AddressText, HasEightDigitsOrMore) {
  EXPECT_EQ(addressText(0), "0x00000000");
  EXPECT_EQ(addressText(0x89ABCDEF), "0x89abcdef");
  EXPECT_EQ(addressText(0x100000000), "0x100000000");
}

}  // namespace
