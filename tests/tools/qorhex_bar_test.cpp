// SPDX-License-Identifier: MIT
//
// The bar below the long table.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "telling/bar.h"

namespace {

using ranges_t = std::vector<range_t>;

report_t reportOf(const ranges_t& data, const ranges_t& regions = {}) {
  report_t report;
  for (const range_t& range : data) {
    report.segments.push_back({range, 0, {}, {}});
  }
  for (const range_t& range : regions) {
    report.regions.push_back({{"r", range}, 0});
  }
  return report;
}

struct barCase_t {
  const char* name;
  ranges_t data;
  ranges_t regions;
  std::size_t width;
  const char* bar;
};

const barCase_t barCases[] = {
    {"NothingHasNoBar", {}, {}, 10, ""},
    {"NoWidthHasNoBar", {{0, 9}}, {}, 0, ""},
    {"AllIsFull", {{0x100, 0x1FF}}, {}, 10, "##########"},
    {"AByteFillsAnyWidth", {{7, 7}}, {}, 5, "#####"},
    {"TheLastAddress", {{0xFFFFFFFF, 0xFFFFFFFF}}, {}, 3, "###"},
    {"AllAddresses", {{0, 0xFFFFFFFF}}, {}, 3, "###"},
    {"EdgesOfCellsAreExact", {{0, 29}, {50, 99}}, {}, 10, "###..#####"},
    {"AByteMoreOrLessIsAPart", {{0, 30}, {49, 99}}, {}, 10, "###++#####"},
    {"AByteLessIsAPart", {{0, 28}, {51, 99}}, {}, 10, "##+..+####"},
    {"ASmallGapIsAPart", {{0, 44}, {46, 99}}, {}, 10, "####+#####"},
    {"CellsMayShareAnAddress", {{0, 0}, {2, 2}}, {}, 6, "##..##"},
    {"ACellOverTwoAddressesIsBoth", {{0, 0}, {2, 2}}, {}, 4, "#++#"},
    {"AGapOfAllDataIsDrawn", {{0, 9}, {30, 39}}, {}, 8, "##....##"},
    {"ALongerOneIsShort", {{0, 9}, {31, 40}}, {}, 9, "###/ /###"},
    {"CellsGoByTheAddresses",
     {{0, 9}, {0x1000, 0x101D}},
     {},
     11,
     "##/ /######"},
    {"OnlyTheLongGapIsShort",
     {{0, 0}, {0x10000, 0x1FFFF}, {0x80000000, 0x80000000}},
     {},
     10,
     "+..###/ /#"},
    {"WhatIsTinyHasACell", {{0, 0}, {0x30000, 0x3FFFF}}, {}, 8, "#/ /####"},
    {"BetweenShortGapsIsACell",
     {{0, 0}, {0x10000, 0x10FFF}, {0x80000000, 0x80000000}},
     {},
     10,
     "#/ /##/ /#"},
    {"TooManyLongGaps", {{0, 0}, {9, 9}, {30, 30}}, {}, 8, "+..+/ /#"},
    {"TooNarrowForAShortGap", {{0, 0}, {100, 100}}, {}, 3, "+.+"},
    {"OneCell", {{0, 0}, {100, 100}}, {}, 1, "+"},
    {"RegionsSayHowFar", {{20, 39}}, {{0, 99}}, 10, "..##......"},
    {"NoDataInARegion", {}, {{0, 99}}, 4, "...."},
    {"FreeRoomIsDrawnHoweverLong", {{0, 9}}, {{0, 99}}, 10, "#........."},
    {"AHoleOfTheMapBehindTheData",
     {{0, 9}},
     {{0, 19}, {100, 119}, {0x80000000, 0x80000013}},
     18,
     "##../ /..../ /...."},
    {"AHoleOfTheMapBeforeTheData",
     {{105, 114}},
     {{0, 19}, {100, 119}},
     11,
     "..../ /.##."},
    {"RegionsThatTouchHaveNoHole", {{0, 9}}, {{0, 19}, {20, 39}}, 4, "#..."},
    {"HolesWithoutData", {}, {{0, 9}, {20, 29}}, 7, "../ /.."},
};

class Bar : public testing::TestWithParam<barCase_t> {};

TEST_P(Bar, ShowsTheAddresses) {
  const barCase_t& tested = GetParam();
  EXPECT_EQ(barOf(reportOf(tested.data, tested.regions), tested.width),
            tested.bar);
}

INSTANTIATE_TEST_SUITE_P(Table, Bar, testing::ValuesIn(barCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(Bar, IsAsWideAsItIsAskedToBe) {
  ranges_t data;
  for (std::uint64_t i = 0; i < 100; ++i) {
    data.push_back({i * i * i * 4000, i * i * i * 4000 + i});
  }
  for (std::size_t width = 1; width < 300; ++width) {
    EXPECT_EQ(barOf(reportOf(data), width).size(), width);
  }
}

}  // namespace
