// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/digit_grouping.h"
#include "support/printed.h"

namespace {

const unsigned char sixBytes[] = {1, 2, 3, 4, 5, 6};
const unsigned char* const six = sixBytes;

constexpr auto unknownMode = static_cast<hexdumpPrefix_t>(7);

std::string dump(const std::vector<unsigned char>& bytes, const char* prefix,
                 std::uint64_t bytesPerLine, hexdumpPrefix_t mode,
                 bool endLine = false) {
  return printed([&](std::ostream& os) {
    hexdump(os, bytes.data(), bytes.data() + bytes.size(), prefix, bytesPerLine,
            mode, endLine);
  });
}

std::string addressText(const unsigned char* address) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%016" PRIxPTR,
                reinterpret_cast<std::uintptr_t>(address));
  return text;
}

// A buffer whose flush fails.
class Unflushable : public std::stringbuf {
 protected:
  int sync() override { return -1; }
};

TEST(HexdumpPrefix, ValuesAreFixedAndOthersDefined) {
  static_assert(HEXDUMP_NONE == 0);
  static_assert(HEXDUMP_ADDRESS == 1);
  static_assert(HEXDUMP_OFFSET == 2);
  static_assert(std::is_same_v<std::underlying_type_t<hexdumpPrefix_t>, int>);
}

TEST(Hexdump, OffsetStandsInFrontOfEachLine) {
  EXPECT_EQ(dump({1, 2, 3, 4, 5, 6}, "rx", 4, HEXDUMP_OFFSET),
            "rx 00000000:  01 02 03 04\nrx 00000004:  05 06");
}

TEST(Hexdump, OffsetsAreHexadecimal) {
  EXPECT_EQ(dump({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, "rx", 10, HEXDUMP_OFFSET),
            "rx 00000000:  01 02 03 04 05 06 07 08 09 0a\nrx 0000000a:  0b");
}

TEST(Hexdump, AddressStandsInFrontOfEachLine) {
  const std::string text = printed([](std::ostream& os) {
    hexdump(os, six, six + 6, "rx", 4, HEXDUMP_ADDRESS, false);
  });
  EXPECT_EQ(text, "rx " + addressText(six) + ":  01 02 03 04\nrx " +
                      addressText(six + 4) + ":  05 06");
}

TEST(Hexdump, AddressIsLowerCaseOnAnUpperCaseStream) {
  std::ostringstream os;
  os << std::uppercase << std::dec << std::left << std::setfill('*');
  hexdump(os, six, six + 1, nullptr, 1, HEXDUMP_ADDRESS, false);
  EXPECT_EQ(os.str(), addressText(six) + ":  01");
}

TEST(Hexdump, PrefixAloneIsFollowedByTheFirstByte) {
  EXPECT_EQ(dump({1, 2}, "rx", 16, HEXDUMP_NONE), "rx 01 02");
}

TEST(Hexdump, PrefixStandsOnEveryLine) {
  EXPECT_EQ(dump({1, 2, 3}, "rx", 2, HEXDUMP_NONE), "rx 01 02\nrx 03");
}

TEST(Hexdump, EmptyPrefixIsAPrefix) {
  EXPECT_EQ(dump({1, 2}, "", 16, HEXDUMP_NONE), " 01 02");
  EXPECT_EQ(dump({1, 2}, "", 16, HEXDUMP_OFFSET), " 00000000:  01 02");
  EXPECT_EQ(dump({1, 2}, "", 16, unknownMode), "  01 02");
}

TEST(Hexdump, NullPrefixLeavesTheByteColumns) {
  EXPECT_EQ(dump({1, 2, 3, 4, 5}, nullptr, 2, HEXDUMP_NONE),
            " 01 02\n 03 04\n 05");
}

TEST(Hexdump, NullPrefixLeavesTheOffset) {
  EXPECT_EQ(dump({1, 2, 3}, nullptr, 2, HEXDUMP_OFFSET),
            "00000000:  01 02\n00000002:  03");
}

TEST(Hexdump, NullPrefixLeavesTheAddress) {
  const std::string text = printed([](std::ostream& os) {
    hexdump(os, six, six + 3, nullptr, 2, HEXDUMP_ADDRESS, false);
  });
  EXPECT_EQ(text,
            addressText(six) + ":  01 02\n" + addressText(six + 2) + ":  03");
}

TEST(Hexdump, UnknownModeAddsASpaceBehindThePrefix) {
  EXPECT_EQ(dump({1, 2, 3}, "rx", 2, unknownMode), "rx  01 02\nrx  03");
  EXPECT_EQ(dump({1}, "rx", 2, static_cast<hexdumpPrefix_t>(-1)), "rx  01");
}

TEST(Hexdump, UnknownModeWithoutPrefixAddsNothing) {
  EXPECT_EQ(dump({1, 2, 3}, nullptr, 2, unknownMode), " 01 02\n 03");
}

TEST(Hexdump, FullLastLineIsNotFollowedByALineFeed) {
  EXPECT_EQ(dump({1, 2, 3, 4}, nullptr, 2, HEXDUMP_NONE), " 01 02\n 03 04");
}

TEST(Hexdump, OneByteALineIsTheLeast) {
  EXPECT_EQ(dump({1, 2, 3}, "rx", 1, HEXDUMP_OFFSET),
            "rx 00000000:  01\nrx 00000001:  02\nrx 00000002:  03");
}

TEST(Hexdump, LargestCountPutsAllOnOneLine) {
  EXPECT_EQ(dump({1, 2, 3}, "rx", UINT64_MAX, HEXDUMP_OFFSET),
            "rx 00000000:  01 02 03");
  EXPECT_EQ(dump({1, 2, 3}, "rx", UINT64_C(1) << 32, HEXDUMP_OFFSET),
            "rx 00000000:  01 02 03");
}

TEST(Hexdump, EveryByteIsTwoLowerCaseDigits) {
  std::vector<unsigned char> bytes;
  std::string expected;
  const char* const digits = "0123456789abcdef";
  for (int byte = 0; byte < 256; ++byte) {
    bytes.push_back(static_cast<unsigned char>(byte));
    expected += std::string(" ") + digits[byte / 16] + digits[byte % 16];
  }
  EXPECT_EQ(dump(bytes, nullptr, 256, HEXDUMP_NONE), expected);
}

TEST(Hexdump, EndLineAddsALineFeedAndAFlush) {
  const Capture capture;
  hexdump(std::cout, six, six + 6, "rx", 4, HEXDUMP_NONE, true);
  EXPECT_EQ(capture.transcript(), "<out>rx 01 02 03 04\nrx 05 06\n<flush>");
}

TEST(Hexdump, NothingIsFlushedWithoutEndLine) {
  const Capture capture;
  hexdump(std::cout, six, six + 6, "rx", 4, HEXDUMP_NONE, false);
  EXPECT_EQ(capture.transcript(), "<out>rx 01 02 03 04\nrx 05 06");
}

TEST(Hexdump, EmptyRangeIsALineWithAFlush) {
  const Capture capture;
  hexdump(std::cout, six, six, "rx", 4, HEXDUMP_NONE, false);
  EXPECT_EQ(capture.transcript(), "<out>rx 00000000:\n<flush>");
}

TEST(Hexdump, EmptyRangeWithEndLineHasASecondLineFeedAndFlush) {
  const Capture capture;
  hexdump(std::cout, six, six, "rx", 4, HEXDUMP_NONE, true);
  EXPECT_EQ(capture.transcript(), "<out>rx 00000000:\n<flush>\n<flush>");
}

TEST(Hexdump, EmptyRangeIgnoresTheMode) {
  EXPECT_EQ(dump({}, "rx", 4, HEXDUMP_ADDRESS), "rx 00000000:\n");
  EXPECT_EQ(dump({}, "rx", 4, HEXDUMP_OFFSET), "rx 00000000:\n");
  EXPECT_EQ(dump({}, "rx", 4, unknownMode), "rx 00000000:\n");
}

TEST(Hexdump, EmptyRangeMayLieAtNull) {
  std::ostringstream os;
  const unsigned char* const none = nullptr;
  hexdump(os, none, none, "", 4, HEXDUMP_ADDRESS, false);
  EXPECT_EQ(os.str(), " 00000000:\n");
}

TEST(Hexdump, EmptyRangeWithNullPrefixSetsTheBadBitAndWritesNothing) {
  const Capture capture;
  std::ostream os(std::cout.rdbuf());
  hexdump(os, six, six, nullptr, 4, HEXDUMP_NONE, true);
  EXPECT_TRUE(os.bad());
  EXPECT_EQ(capture.transcript(), "");
}

TEST(Hexdump, EmptyRangeWithNullPrefixThrowsWhereTheStreamDoes) {
  std::ostringstream os;
  os << std::oct << std::left << std::setfill('*');
  const auto flags = os.flags();
  os.exceptions(std::ios_base::badbit);
  EXPECT_THROW(hexdump(os, six, six, nullptr, 4, HEXDUMP_NONE, true),
               std::ios_base::failure);
  EXPECT_EQ(os.str(), "");
  EXPECT_EQ(os.flags(), flags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(Hexdump, FlushThatFailsSetsTheBadBit) {
  Unflushable buffer;
  std::ostream os(&buffer);
  os << std::oct << std::setfill('*');
  const auto flags = os.flags();
  os.exceptions(std::ios_base::badbit);
  EXPECT_THROW(hexdump(os, six, six + 1, nullptr, 4, HEXDUMP_NONE, true),
               std::ios_base::failure);
  EXPECT_EQ(buffer.str(), " 01\n");
  EXPECT_EQ(os.flags(), flags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(Hexdump, BadStreamStaysEmpty) {
  std::ostringstream os;
  os.setstate(std::ios_base::badbit);
  hexdump(os, six, six + 6, "rx", 4, HEXDUMP_OFFSET, true);
  EXPECT_EQ(os.str(), "");
}

TEST(Hexdump, StreamIsBackInItsModeAndFill) {
  std::ostringstream os;
  os << std::uppercase << std::showbase << std::setfill('*');
  hexdump(os, six, six + 1, "rx", 4, HEXDUMP_OFFSET, false);
  os << ' ' << std::hex << std::setw(6) << 0xAB;
  EXPECT_EQ(os.str(), "rx 00000000:  01 **0XAB");
}

TEST(Hexdump, PendingWidthPadsThePrefixWithZeros) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(5);
  hexdump(os, six, six + 2, "rx", 4, HEXDUMP_OFFSET, false);
  EXPECT_EQ(os.str(), "000rx 00000000:  01 02");
  os.str("");
  os << std::setw(5);
  hexdump(os, six, six, "rx", 4, HEXDUMP_OFFSET, false);
  EXPECT_EQ(os.str(), "000rx 00000000:\n");
}

TEST(Hexdump, PendingWidthPadsTheFirstSpaceWithoutPrefix) {
  std::ostringstream os;
  os << std::setw(5);
  hexdump(os, six, six + 2, nullptr, 4, HEXDUMP_NONE, false);
  EXPECT_EQ(os.str(), "0000 01 02");
}

TEST(Hexdump, OffsetWithoutPrefixReplacesThePendingWidth) {
  std::ostringstream os;
  os << std::setw(50);
  hexdump(os, six, six + 2, nullptr, 4, HEXDUMP_OFFSET, false);
  EXPECT_EQ(os.str(), "00000000:  01 02");
}

TEST(Hexdump, UnitBufferingRestsDuringTheDump) {
  const Capture capture;
  std::cout << std::unitbuf;
  hexdump(std::cout, six, six + 2, "rx", 4, HEXDUMP_NONE, false);
  EXPECT_EQ(capture.transcript(), "<out>rx 01 02");
}

TEST(Hexdump, LocaleGroupsOffsets) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale("\3"));
  const std::vector<unsigned char> bytes(0x1001);
  hexdump(os, bytes.data(), bytes.data() + bytes.size(), "rx", 0x1000,
          HEXDUMP_OFFSET, false);
  const std::string text = os.str();
  EXPECT_EQ(text.substr(0, 17), "rx 00000000:  00 ");
  EXPECT_EQ(text.substr(text.find('\n')), "\nrx 0001,000:  00");
}

TEST(Hexdump, LocaleGroupsTheDigitsOfAByte) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale("\1"));
  const unsigned char bytes[] = {0x01, 0xAB};
  const unsigned char* const first = bytes;
  hexdump(os, first, first + 2, nullptr, 4, HEXDUMP_NONE, false);
  EXPECT_EQ(os.str(), " 01 a,b");
}

TEST(Hexdump, BytesNeedNotBeConstant) {
  unsigned char bytes[] = {1, 2};
  std::ostringstream os;
  hexdump(os, &bytes[0], &bytes[0] + 2, "rx", 4, HEXDUMP_NONE, false);
  EXPECT_EQ(os.str(), "rx 01 02");
}

}  // namespace
