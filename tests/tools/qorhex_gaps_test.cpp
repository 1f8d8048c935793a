// SPDX-License-Identifier: MIT
//
// The gaps of an image.

#include <vector>

#include <gtest/gtest.h>

#include "image/gaps.h"
#include "tools/qorhex_bytes.h"

namespace {

TEST(GapBetween, TakesNothingOfItsNeighbours) {
  EXPECT_EQ(textOf({gapBetween({10, 19}, {21, 29})}), "20-20 ");
  EXPECT_EQ(textOf({gapBetween({0, 0}, {0xFFFFFFFF, 0xFFFFFFFF})}),
            "1-4294967294 ");
}

TEST(LongestGaps, AreLongerThanTheLeast) {
  EXPECT_EQ(textOf(longestGaps({{0, 9}, {20, 30}, {40, 48}}, 10, 5)), "20-30 ");
  EXPECT_EQ(textOf(longestGaps({{0, 9}}, 10, 5)), "");
  EXPECT_EQ(textOf(longestGaps({}, 0, 5)), "");
}

TEST(LongestGaps, OfTooManyTheLongestStayInTheirOrder) {
  const std::vector<range_t> gaps{{0, 19}, {30, 39}, {50, 79}, {90, 99}};
  EXPECT_EQ(textOf(longestGaps(gaps, 1, 4)), "0-19 30-39 50-79 90-99 ");
  EXPECT_EQ(textOf(longestGaps(gaps, 1, 3)), "0-19 30-39 50-79 ");
  EXPECT_EQ(textOf(longestGaps(gaps, 1, 1)), "50-79 ");
  EXPECT_EQ(textOf(longestGaps(gaps, 1, 0)), "");
}

}  // namespace
