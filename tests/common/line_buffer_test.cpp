// SPDX-License-Identifier: MIT

#include "common/line_buffer.h"

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

using qorutil_internal::LineBuffer;

std::string decimal(std::int64_t value, std::size_t width = 0) {
  LineBuffer line;
  return std::string(line.put('>').decimal(value, width).view().substr(1));
}

std::string hexadecimal(std::uint64_t value, std::size_t width = 0) {
  LineBuffer line;
  return std::string(line.put('>').hexadecimal(value, width).view().substr(1));
}

TEST(LineBuffer, IsEmptyAtFirst) {
  LineBuffer line;
  EXPECT_EQ(line.view(), "");
  EXPECT_EQ(line.room(), LineBuffer::capacity);
}

TEST(LineBuffer, GrowsAtItsEnd) {
  const unsigned char bytes[] = {0x00, 0xAB};
  LineBuffer line;
  line.put('a').put("bc").put("").decimal(-7).put(' ').hexadecimal(0xF0);
  EXPECT_EQ(line.hexBytes(bytes, 2).view(), "abc-7 f0 00 ab");
  EXPECT_EQ(line.room(), LineBuffer::capacity - 14);
}

TEST(LineBuffer, TakesAsMuchAsThereIsRoom) {
  const std::string text(LineBuffer::capacity - 2, 'x');
  LineBuffer line;
  line.put(text).decimal(42);
  EXPECT_EQ(line.view(), text + "42");
  EXPECT_EQ(line.room(), 0U);
}

TEST(LineBuffer, DecimalNumbersAreFilledUpInFrontOfTheSign) {
  EXPECT_EQ(decimal(0), "0");
  EXPECT_EQ(decimal(7, 2), "07");
  EXPECT_EQ(decimal(-5, 4), "00-5");
  EXPECT_EQ(decimal(12345, 4), "12345");
  EXPECT_EQ(decimal(std::numeric_limits<std::int64_t>::min()),
            "-9223372036854775808");
}

TEST(LineBuffer, HexadecimalNumbersAreFilledUp) {
  EXPECT_EQ(hexadecimal(0), "0");
  EXPECT_EQ(hexadecimal(0xAB, 8), "000000ab");
  EXPECT_EQ(hexadecimal(0x123456789, 8), "123456789");
  EXPECT_EQ(hexadecimal(std::numeric_limits<std::uint64_t>::max()),
            "ffffffffffffffff");
}

TEST(LineBuffer, EveryByteIsASpaceAndTwoDigits) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<unsigned char>(byte);
    LineBuffer line;
    EXPECT_EQ(line.hexBytes(&value, 1).view(), ' ' + hexadecimal(byte, 2));
  }
}

}  // namespace
