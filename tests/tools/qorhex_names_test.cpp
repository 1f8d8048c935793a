// SPDX-License-Identifier: MIT
//
// Names as qorhex shows them.

#include <string>

#include <gtest/gtest.h>

#include "reading/names.h"

namespace {

TEST(NameOf, TheDashIsStandardInput) {
  EXPECT_EQ(nameOf("-"), "<stdin>");
  EXPECT_EQ(nameOf("./-"), "./-");
}

TEST(EscapeName, EveryByteAloneStandsOrIsEscaped) {
  for (int value = 0; value < 256; ++value) {
    const std::string name(1, static_cast<char>(value));
    char escaped[8];
    snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(value));
    const bool plain = value >= 0x20 && value < 0x7F && value != '\\';
    EXPECT_EQ(escapeName(name), plain ? name : escaped) << value;
  }
}

TEST(EscapeName, EveryCharacterStandsUnlessItControls) {
  for (unsigned value = 0x80; value <= 0x110000; ++value) {
    std::string name;
    if (value < 0x800) {
      name = {static_cast<char>(0xC0 | value >> 6),
              static_cast<char>(0x80 | (value & 0x3F))};
    } else if (value < 0x10000) {
      name = {static_cast<char>(0xE0 | value >> 12),
              static_cast<char>(0x80 | (value >> 6 & 0x3F)),
              static_cast<char>(0x80 | (value & 0x3F))};
    } else {
      name = {static_cast<char>(0xF0 | value >> 18),
              static_cast<char>(0x80 | (value >> 12 & 0x3F)),
              static_cast<char>(0x80 | (value >> 6 & 0x3F)),
              static_cast<char>(0x80 | (value & 0x3F))};
    }
    const bool control = value < 0xA0;
    const bool none = (value >= 0xD800 && value < 0xE000) || value >= 0x110000;
    const std::string escaped = escapeName(name);
    ASSERT_EQ(escaped == name, !control && !none) << value;
    ASSERT_EQ(escaped.size(), name.size() * (control || none ? 4 : 1)) << value;
  }
}

TEST(EscapeName, ALargeFirstByteBeginsNoCharacter) {
  for (unsigned first = 0xF5; first <= 0xFF; ++first) {
    for (unsigned second = 0x80; second < 0xC0; ++second) {
      const std::string name{static_cast<char>(first),
                             static_cast<char>(second), '\x80', '\x9B'};
      ASSERT_EQ(escapeName(name).size(), 16U) << first << ' ' << second;
    }
  }
}

TEST(EscapeName, WhatIsNoUtf8IsEscapedByteByByte) {
  EXPECT_EQ(escapeName("a\xC3"), "a\\xc3");
  EXPECT_EQ(escapeName("\xE2\x82z"), "\\xe2\\x82z");
  EXPECT_EQ(escapeName("\xC0\xAF"), "\\xc0\\xaf");
  EXPECT_EQ(escapeName("\xE0\x80\xAF"), "\\xe0\\x80\\xaf");
  EXPECT_EQ(escapeName("\xF0\x80\x80\xAF"), "\\xf0\\x80\\x80\\xaf");
  // No character begins with these, as they would be beyond U+10FFFF.
  EXPECT_EQ(escapeName("a\xF8\x90\x80\x9B"), "a\\xf8\\x90\\x80\\x9b");
  EXPECT_EQ(escapeName("\xE2\x82\xAC\x80"), "\xE2\x82\xAC\\x80");
}

}  // namespace
