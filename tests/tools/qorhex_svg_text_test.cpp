// SPDX-License-Identifier: MIT
//
// Texts and numbers of an SVG picture.

#include <string>

#include <gtest/gtest.h>

#include "telling/svg_text.h"

namespace {

TEST(XmlText, WhatXmlReadsOtherwiseIsReplaced) {
  EXPECT_EQ(xmlText(""), "");
  EXPECT_EQ(xmlText("a<b> & \"c\" 'd' &amp;"),
            "a&lt;b&gt; &amp; &quot;c&quot; 'd' &amp;amp;");
  EXPECT_EQ(xmlText("\xE2\x82\xAC \xF0\x9F\x98\x80"),
            "\xE2\x82\xAC \xF0\x9F\x98\x80");
  EXPECT_EQ(xmlText("\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF"),
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Shortened, WhatFitsStands) {
  EXPECT_EQ(shortened("", 5), "");
  EXPECT_EQ(shortened("abcde", 5), "abcde");
  EXPECT_EQ(shortened("\xC3\xA4\xC3\xB6\xC3\xBC", 3),
            "\xC3\xA4\xC3\xB6\xC3\xBC");
}

TEST(Shortened, OtherwiseTheMiddleIsLeftOut) {
  EXPECT_EQ(shortened("abcdef", 5),
            "ab\xE2\x80\xA6"
            "ef");
  EXPECT_EQ(shortened("abcdefgh", 6), "ab\xE2\x80\xA6gh");
}

// Two characters of three bytes each, which take two columns each.
TEST(Shortened, CharactersStayWholeAndWideOnesCountTwice) {
  const std::string wide = "\xE6\x97\xA5";
  EXPECT_EQ(shortened(wide + wide, 4), wide + wide);
  EXPECT_EQ(shortened(wide + wide + wide, 5), wide + "\xE2\x80\xA6" + wide);
  EXPECT_EQ(shortened('a' + wide + wide + wide + 'b', 7),
            'a' + wide + "\xE2\x80\xA6" + wide + 'b');
  EXPECT_EQ(shortened('a' + wide + wide + wide + 'b', 5),
            "a\xE2\x80\xA6"
            "b");
}

TEST(Pixels, TenthsAreWrittenWhereThereAreAny) {
  EXPECT_EQ(pixels(0), "0");
  EXPECT_EQ(pixels(7), "0.7");
  EXPECT_EQ(pixels(120), "12");
  EXPECT_EQ(pixels(1234), "123.4");
}

}  // namespace
