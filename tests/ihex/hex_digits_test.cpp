// SPDX-License-Identifier: MIT

#include "ihex/hex_digits.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>

namespace {

using qorutil_internal::hexPair;
using qorutil_internal::noHexDigit;

TEST(HexPair, IsTheValueOfTwoDigitsAndTooMuchForAnythingElse) {
  for (unsigned pair = 0; pair < 0x10000; ++pair) {
    const char text[] = {
        static_cast<char>(static_cast<unsigned char>(pair >> 8)),
        static_cast<char>(static_cast<unsigned char>(pair & 0xFF)), '\0'};
    const bool digits = std::isxdigit(static_cast<int>(pair >> 8)) != 0 &&
                        std::isxdigit(static_cast<int>(pair & 0xFF)) != 0;
    if (digits) {
      ASSERT_EQ(hexPair(text), std::stoul(text, nullptr, 16)) << text;
    } else {
      ASSERT_GE(hexPair(text), noHexDigit) << pair;
    }
  }
}

}  // namespace
