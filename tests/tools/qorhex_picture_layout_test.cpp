// SPDX-License-Identifier: MIT
//
// Where the parts of a picture are.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "telling/picture_layout.h"

namespace {

report_t reportOf(const std::vector<range_t>& segments,
                  const std::vector<range_t>& regions = {}) {
  report_t report;
  for (const range_t& range : segments) {
    report.segments.push_back({range, 0, {}, {}});
  }
  for (const range_t& range : regions) {
    report.regions.push_back({{"region", range}, 0});
  }
  return report;
}

// Each band: '#' for data, '.' for a gap, '/' for a break; its first address
// and its height.
std::string textOf(const pictureLayout_t& layout) {
  std::string text;
  for (const band_t& band : layout.bands) {
    text += band.hasData ? '#' : band.isBreak ? '/' : '.';
    text += std::to_string(band.range.first) + ':' +
            std::to_string(band.height) + ' ';
  }
  return text;
}

TEST(LayOutPicture, DataAndShortGapsAreToScale) {
  const pictureLayout_t layout =
      layOutPicture(reportOf({{100, 199}, {250, 349}, {350 + 50, 499}}));
  EXPECT_EQ(textOf(layout), "#100:1050 .200:525 #250:1050 .350:525 #400:1050 ");
  EXPECT_EQ(layout.height(), 4200);
  EXPECT_FALSE(layout.hasBreaks());
  EXPECT_FALSE(layout.hasEnlarged);
}

TEST(LayOutPicture, AGapLongerThanHalfOfTheDataIsABreak) {
  EXPECT_EQ(textOf(layOutPicture(reportOf({{0, 9}, {20, 29}}))),
            "#0:933 .10:933 #20:933 ");
  const pictureLayout_t layout = layOutPicture(reportOf({{0, 9}, {21, 30}}));
  EXPECT_EQ(textOf(layout), "#0:1050 /10:440 #21:1050 ");
  EXPECT_TRUE(layout.hasBreaks());
}

TEST(LayOutPicture, BandsAreCutWhereRegionsBeginAndEnd) {
  EXPECT_EQ(textOf(layOutPicture(
                reportOf({{4, 11}}, {{0, 7}, {8, 15}, {1000, 1001}}))),
            ".0:933 #4:933 #8:933 .12:933 /16:440 .1000:466 ");
}

TEST(LayOutPicture, WhatIsTooLowIsEnlarged) {
  const pictureLayout_t layout = layOutPicture(reportOf({{0, 0}, {2, 0xFFFF}}));
  EXPECT_EQ(textOf(layout), "#0:30 .1:30 #2:2799 ");
  EXPECT_TRUE(layout.hasEnlarged);
}

TEST(LayOutPicture, AnImageWithoutDataHasItsRegions) {
  EXPECT_EQ(textOf(layOutPicture(reportOf({}))), "");
  EXPECT_EQ(
      textOf(layOutPicture(reportOf({}, {{0, 99}, {100, 199}, {1000, 1099}}))),
      ".0:933 .100:933 /200:440 .1000:933 ");
}

TEST(LayOutPicture, AllAddressesCanHaveData) {
  const pictureLayout_t layout =
      layOutPicture(reportOf({{0, 0xFFFFFFFF}}, {{0, 0xFFFFFFFF}}));
  EXPECT_EQ(textOf(layout), "#0:1400 ");
}

TEST(LayOutPicture, OfTooManySegmentsThoseWithShortGapsAreOne) {
  std::vector<range_t> segments;
  for (std::uint64_t i = 0; i < 100; ++i) {
    segments.push_back({i * 1000, i * 1000 + 99});
    segments.push_back({i * 1000 + 200 + i, i * 1000 + 399});
  }
  const pictureLayout_t layout = layOutPicture(reportOf(segments));
  ASSERT_EQ(layout.runs.size(), mostRuns);
  const run_t& second = layout.runs[1];
  EXPECT_EQ(second.range.first, 1000U);
  EXPECT_EQ(second.range.last, 1399U);
  EXPECT_EQ(second.segment, 2U);
  EXPECT_EQ(second.count, 2U);
  EXPECT_EQ(second.size, 299U);
  EXPECT_EQ(layout.runs.back().range.last, 99399U);
}

TEST(LayOutPicture, OfTooManySegmentsNoneIsSetApartByAGapTooLowToSee) {
  std::vector<range_t> segments;
  for (std::uint64_t i = 0; i < 100000; ++i) {
    segments.push_back({i * 16, i * 16 + 7});
  }
  const pictureLayout_t layout = layOutPicture(reportOf(segments));
  ASSERT_EQ(layout.runs.size(), 1U);
  EXPECT_EQ(layout.runs[0].count, 100000U);
  EXPECT_EQ(layout.runs[0].size, 800000U);
}

// Whatever the image: no part is missing, none covers another, there are few.
TEST(LayOutPicture, RandomImagesHaveFewBandsThatCoverAll) {
  std::mt19937 generator(1);
  for (int round = 0; round < 300; ++round) {
    const auto ranges = [&generator](std::uint64_t most, std::uint64_t step) {
      std::vector<range_t> made;
      std::uint64_t at = generator() % step;
      for (auto count = generator() % most; count > 0; --count) {
        at += 1 + generator() % (generator() % 8 == 0 ? step * 50 : step);
        const std::uint64_t last = at + generator() % step;
        if (last > lastAddress) {
          break;
        }
        made.push_back({at, last});
        at = last + 1;
      }
      return made;
    };
    const std::uint64_t step = 1 + generator() % 100000;
    const report_t report = reportOf(ranges(300, step), ranges(60, step * 5));
    const pictureLayout_t layout = layOutPicture(report);
    ASSERT_LE(layout.bands.size(), 2 * (mostRuns + mostRegions) + 1);
    std::size_t segments = 0;
    std::uint64_t size = 0;
    for (const run_t& run : layout.runs) {
      ASSERT_EQ(run.segment, segments);
      ASSERT_EQ(run.range.first, report.segments[segments].range.first);
      segments += run.count;
      ASSERT_EQ(run.range.last, report.segments[segments - 1].range.last);
      ASSERT_TRUE(layout.firstOf(run.range).hasData);
      ASSERT_TRUE(layout.lastOf(run.range).hasData);
      size += run.size;
    }
    ASSERT_EQ(segments, report.segments.size());
    ASSERT_EQ(size, report.size());
    for (std::size_t i = 1; i < layout.bands.size(); ++i) {
      const band_t& before = layout.bands[i - 1];
      ASSERT_EQ(layout.bands[i].range.first, before.range.last + 1);
      ASSERT_EQ(layout.bands[i].top, before.bottom());
      ASSERT_GE(layout.bands[i].height, 30);
    }
  }
}

TEST(SpreadLabels, WhatHasRoomStaysInPlace) {
  EXPECT_EQ(spreadLabels({}, 0), (std::vector<tenths_t>{}));
  EXPECT_EQ(spreadLabels({{10, 5}, {15, 5}, {30, 5}}, 0),
            (std::vector<tenths_t>{10, 15, 30}));
}

TEST(SpreadLabels, WhatDoesNotIsSpreadAroundItsMiddle) {
  EXPECT_EQ(spreadLabels({{100, 10}, {100, 10}}, 0),
            (std::vector<tenths_t>{95, 105}));
  EXPECT_EQ(spreadLabels({{100, 10}, {102, 20}, {200, 10}}, 0),
            (std::vector<tenths_t>{96, 106, 200}));
}

TEST(SpreadLabels, NoneBeginsAboveTheLeast) {
  EXPECT_EQ(spreadLabels({{-50, 10}, {-50, 10}, {5, 10}}, 0),
            (std::vector<tenths_t>{0, 10, 20}));
}

TEST(SpreadLabels, RandomLabelsNeverCoverEachOther) {
  std::mt19937 generator(1);
  for (int round = 0; round < 2000; ++round) {
    std::vector<label_t> labels;
    for (auto count = generator() % 30; count > 0; --count) {
      labels.push_back({static_cast<tenths_t>(generator() % 500) - 20,
                        1 + static_cast<tenths_t>(generator() % 40)});
    }
    std::sort(labels.begin(), labels.end(),
              [](const label_t& a, const label_t& b) { return a.top < b.top; });
    const std::vector<tenths_t> tops = spreadLabels(labels, 0);
    ASSERT_EQ(tops.size(), labels.size());
    for (std::size_t i = 0; i < tops.size(); ++i) {
      ASSERT_GE(tops[i], i == 0 ? 0 : tops[i - 1] + labels[i - 1].height);
    }
  }
}

}  // namespace
