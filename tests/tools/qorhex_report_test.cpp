// SPDX-License-Identifier: MIT
//
// What is told about an image, as data.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reading/number_text.h"
#include "telling/report.h"
#include "tools/qorhex_bytes.h"

namespace {

std::string textOf(const report_t& report) {
  std::string text;
  for (const segmentReport_t& segment : report.segments) {
    text += std::to_string(segment.range.first) + '-' +
            std::to_string(segment.range.last) + ' ' +
            hexText(segment.crc32, 8);
    for (const std::size_t region : segment.regions) {
      text += ' ' + report.regions[region].region.name;
    }
    text += '\n';
  }
  for (const auto& [region, used] : report.regions) {
    text += region.name + ' ' + std::to_string(used) + '\n';
  }
  return text;
}

report_t describe(const ByteMap& bytes, const std::vector<region_t>& map) {
  const OwnedSegments image(bytes);
  report_t report;
  describeImage(report, SegmentWalk(image.segments), nullptr, map, {});
  return report;
}

TEST(Report, SegmentsHaveTheirChecksum) {
  EXPECT_EQ(textOf(describe({{5, '1'}, {6, '2'}, {9, '1'}}, {})),
            "5-6 0x4f5344cd\n"
            "9-9 0x83dcefb7\n");
}

TEST(Report, NothingHasNothing) {
  EXPECT_EQ(textOf(describe({}, {})), "");
  EXPECT_EQ(textOf(describe({}, {{"a", {0, 9}}})), "a 0\n");
  EXPECT_EQ(describe({}, {}).size(), 0U);
  EXPECT_FALSE(describe({}, {}).hasSources());
}

TEST(Report, RegionsAreInOrderAndCountWhatIsInThem) {
  EXPECT_EQ(
      textOf(describe(
          {{9, '1'}, {10, '1'}, {11, '1'}, {21, '1'}},
          {{"c", {20, 21}}, {"a", {0, 9}}, {"d", {22, 22}}, {"b", {10, 11}}})),
      "9-11 0x4d6b513d a b\n"
      "21-21 0x83dcefb7 c\n"
      "a 1\n"
      "b 2\n"
      "c 1\n"
      "d 0\n");
}

TEST(Report, ARegionCanHaveSeveralSegments) {
  EXPECT_EQ(textOf(describe({{1, '1'}, {3, '1'}, {5, '1'}},
                            {{"low", {0, 3}}, {"high", {5, 5}}})),
            "1-1 0x83dcefb7 low\n"
            "3-3 0x83dcefb7 low\n"
            "5-5 0x83dcefb7 high\n"
            "low 2\n"
            "high 1\n");
}

TEST(Report, AnotherImageTakesThePlaceOfTheFirst) {
  const OwnedSegments first({{1, '1'}});
  const OwnedSegments second({{3, '1'}});
  report_t report;
  describeImage(report, SegmentWalk(first.segments), nullptr, {}, {});
  describeImage(report, SegmentWalk(second.segments), nullptr, {}, {});
  EXPECT_EQ(textOf(report), "3-3 0x83dcefb7\n");
}

TEST(Report, AFailureNamesItsFileOnce) {
  report_t report;
  report.names = {"a\\b"};
  noteFailure(report, "a\\x5cb: gone", REFUSED);
  noteFailure(report, "out.bin: full", SYSTEM_FAILED);
  EXPECT_EQ(report.status, SYSTEM_FAILED);
  ASSERT_EQ(report.problems.size(), 2U);
  EXPECT_EQ(report.problems[0].file, "a\\b");
  EXPECT_EQ(report.problems[0].text, "gone");
  EXPECT_EQ(report.problems[1].file, "a\\b");
  EXPECT_EQ(report.problems[1].text, "out.bin: full");
}

TEST(Report, AllBytesCount) {
  EXPECT_EQ(describe({{1, '1'}, {3, '1'}, {4, '1'}}, {}).size(), 3U);
}

}  // namespace
