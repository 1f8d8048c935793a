// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/digit_grouping.h"
#include "support/printed.h"

namespace {

std::string printed(std::uint64_t value, std::uint64_t bits,
                    std::ios_base::fmtflags flags = {}, int width = 0) {
  return ::printed([=](std::ostream& os) {
    os.flags(flags);
    os << std::setw(width);
    BinaryBase::print(os, value, bits);
  });
}

// The digits from the most significant end, as they are read.
std::string digits(std::uint64_t value, unsigned int bits, bool grouped) {
  std::string text;
  for (unsigned int bit = bits - bits % 4; bit > 0; --bit) {
    text += ((value >> (bit - 1)) & 1) != 0 ? '1' : '0';
    if (grouped && bit > 1 && (bit - 1) % 4 == 0) {
      text += ' ';
    }
  }
  return text;
}

std::string padded(const std::string& text, std::size_t width, bool left) {
  const std::string padding(width > text.size() ? width - text.size() : 0, ' ');
  return left ? text + padding : padding + text;
}

TEST(BinaryBase, PlainStreamGetsDigitsWithoutSpaces) {
  EXPECT_EQ(printed(0xA5, 8), "10100101");
}

TEST(BinaryBase, InternalAlignmentGroupsTheDigits) {
  EXPECT_EQ(printed(0xA5, 8, std::ios_base::internal), "1010 0101");
}

TEST(BinaryBase, BitsAreRoundedDownToGroupsOfFour) {
  EXPECT_EQ(printed(0xA5, 6), "0101");
  EXPECT_EQ(printed(0xA5, 7), "0101");
}

TEST(BinaryBase, FewerThanFourBitsGiveAnEmptyText) {
  EXPECT_EQ(printed(0xF, 0), "");
  EXPECT_EQ(printed(0xF, 3), "");
}

TEST(BinaryBase, EmptyTextIsStillPadded) {
  EXPECT_EQ(printed(0xF, 0, {}, 3), "   ");
  EXPECT_EQ(printed(0xF, 3, std::ios_base::left, 3), "   ");
}

TEST(BinaryBase, AllBitsInGroupsAre79Characters) {
  const std::string text =
      printed(0x0123456789ABCDEF, 64, std::ios_base::internal);
  EXPECT_EQ(text.size(), 79U);
  EXPECT_EQ(text,
            "0000 0001 0010 0011 0100 0101 0110 0111 "
            "1000 1001 1010 1011 1100 1101 1110 1111");
}

TEST(BinaryBase, EverySingleBitStandsAtItsPlace) {
  for (unsigned int bit = 0; bit < 64; ++bit) {
    std::string expected(64, '0');
    expected[63 - bit] = '1';
    EXPECT_EQ(printed(UINT64_C(1) << bit, 64), expected) << "bit " << bit;
  }
}

TEST(BinaryBase, EveryBitCountGroupingAlignmentAndWidth) {
  const std::uint64_t value = 0x9C3A5F0172E6B48D;
  for (unsigned int bits = 0; bits <= 64; ++bits) {
    for (const bool grouped : {false, true}) {
      for (const bool left : {false, true}) {
        for (const int width : {0, 1, 9, 79, 100}) {
          const auto flags =
              (grouped ? std::ios_base::internal : std::ios_base::fmtflags{}) |
              (left ? std::ios_base::left : std::ios_base::right);
          EXPECT_EQ(printed(value, bits, flags, width),
                    padded(digits(value, bits, grouped),
                           static_cast<std::size_t>(width), left))
              << bits << " bits, flags " << flags << ", width " << width;
        }
      }
    }
  }
}

TEST(BinaryBase, BitsBeyondThoseOfTheValueAreZeros) {
  EXPECT_EQ(printed(UINT64_MAX, 72),
            std::string(8, '0') + std::string(64, '1'));
}

TEST(BinaryBase, PaddingIsSpacesWhateverTheFill) {
  std::ostringstream os;
  os << std::setfill('*') << std::setw(6);
  BinaryBase::print(os, 5, 4);
  os << std::setw(3) << 1;
  EXPECT_EQ(os.str(), "  0101**1");
}

TEST(BinaryBase, HexadecimalStreamGetsTheWholeValue) {
  EXPECT_EQ(printed(0xDEADBEEF, 8, std::ios_base::hex), "deadbeef");
  EXPECT_EQ(printed(UINT64_MAX, 0, std::ios_base::hex), "ffffffffffffffff");
}

TEST(BinaryBase, HexadecimalStreamKeepsItsOwnFormat) {
  std::ostringstream os;
  os << std::hex << std::showbase << std::uppercase << std::internal
     << std::setfill('*') << std::setw(8);
  BinaryBase::print(os, 0xAB, 8);
  EXPECT_EQ(os.str(), "0X****AB");
}

TEST(BinaryBase, HexadecimalBesideAnotherBaseIsNoBinaryEither) {
  EXPECT_EQ(printed(10, 8, std::ios_base::hex | std::ios_base::dec), "10");
}

TEST(BinaryBase, OctalStreamGetsBinaryDigits) {
  EXPECT_EQ(printed(0xA5, 8, std::ios_base::oct | std::ios_base::showbase),
            "10100101");
}

TEST(BinaryBase, LocaleGroupsNumbersButNoBinaryDigits) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale("\2"));
  BinaryBase::print(os, 0xA5, 8) << ' ';
  BinaryBase::print(os << std::hex, 0xABCDE, 8);
  EXPECT_EQ(os.str(), "10100101 a,bc,de");
}

TEST(BinaryBase, ReturnsTheStream) {
  std::ostringstream os;
  EXPECT_EQ(&BinaryBase::print(os, 1, 4), &os);
  os << std::hex;
  EXPECT_EQ(&BinaryBase::print(os, 1, 4), &os);
}

template <class T>
std::string shown(T value) {
  return printedText(Binary{value});
}

TEST(Binary, PrintsAsManyDigitsAsTheTypeHasBits) {
  EXPECT_EQ(shown(std::uint8_t{0xA5}), "10100101");
  EXPECT_EQ(shown(std::uint16_t{0xA5}), "0000000010100101");
  EXPECT_EQ(shown(std::uint32_t{1}), std::string(31, '0') + "1");
  EXPECT_EQ(shown(std::uint64_t{1}), std::string(63, '0') + "1");
}

TEST(Binary, NegativeNumbersAreTwosComplements) {
  EXPECT_EQ(shown(std::int8_t{-2}), "11111110");
  EXPECT_EQ(shown(std::int64_t{-1}), std::string(64, '1'));
}

TEST(Binary, CharactersAndEnumerationsAreNumbers) {
  EXPECT_EQ(shown('a'), "01100001");
  EXPECT_EQ(shown(HEXDUMP_OFFSET), std::string(30, '0') + "10");
}

TEST(Binary, HexadecimalStreamGetsTheUnsignedNumberOfTheSameWidth) {
  std::ostringstream os;
  os << std::hex << Binary<std::int16_t>{-1};
  EXPECT_EQ(os.str(), "ffff");
}

TEST(Binary, TakesTheFlagsAndTheWidthOfTheStream) {
  std::ostringstream os;
  os << std::internal << std::setw(10) << Binary{std::uint8_t{0xA5}} << '|';
  EXPECT_EQ(os.str(), " 1010 0101|");
}

}  // namespace
