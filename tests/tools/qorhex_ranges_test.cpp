// SPDX-License-Identifier: MIT
//
// What --range leaves of an image.

#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "image/ranges.h"
#include "tools/qorhex_bytes.h"

namespace {

TEST(UniteRanges, TheOrderDoesNotMatter) {
  EXPECT_EQ(textOf(uniteRanges({{30, 39}, {10, 19}})), "10-19 30-39 ");
}

TEST(UniteRanges, WhatOverlapsOrTouchesBecomesOne) {
  EXPECT_EQ(textOf(uniteRanges({{10, 19}, {15, 24}})), "10-24 ");
  EXPECT_EQ(textOf(uniteRanges({{20, 29}, {10, 19}})), "10-29 ");
  EXPECT_EQ(textOf(uniteRanges({{10, 19}, {10, 19}})), "10-19 ");
  EXPECT_EQ(textOf(uniteRanges({{10, 99}, {20, 29}, {98, 98}})), "10-99 ");
  EXPECT_EQ(textOf(uniteRanges({{10, 19}, {21, 29}})), "10-19 21-29 ");
}

TEST(UniteRanges, ReachesTheLastAddress) {
  EXPECT_EQ(textOf(uniteRanges({{0xFFFFFFFF, 0xFFFFFFFF}, {5, 0xFFFFFFFF}})),
            "5-4294967295 ");
  EXPECT_EQ(textOf(uniteRanges({{0, 0xFFFFFFFF}, {0, 0}})), "0-4294967295 ");
}

TEST(UniteRanges, NoneGiveNone) {
  EXPECT_TRUE(uniteRanges({}).empty());
}

TEST(CropSegments, ASegmentWithAHoleBecomesSeveral) {
  OwnedSegments image({100}, 50, 7);
  EXPECT_EQ(cropSegments(image.segments, {{90, 109}, {120, 120}, {140, 200}}),
            29U);
  ASSERT_EQ(image.segments.size(), 3U);
  EXPECT_EQ(image.segments[0].address, 100U);
  EXPECT_EQ(image.segments[0].size, 10U);
  EXPECT_EQ(image.segments[1].address, 120U);
  EXPECT_EQ(image.segments[1].size, 1U);
  EXPECT_EQ(image.segments[2].address, 140U);
  EXPECT_EQ(image.segments[2].size, 10U);
}

TEST(CropSegments, OneRangeTakesOfSeveralSegments) {
  OwnedSegments image({100, 200, 300}, 50);
  EXPECT_EQ(cropSegments(image.segments, {{149, 300}}), 98U);
  ASSERT_EQ(image.segments.size(), 3U);
  EXPECT_EQ(image.segments[0].address, 149U);
  EXPECT_EQ(image.segments[1].size, 50U);
  EXPECT_EQ(image.segments[2].size, 1U);
}

TEST(CropSegments, WithoutRangesNothingStays) {
  OwnedSegments image({100, 200}, 50);
  EXPECT_EQ(cropSegments(image.segments, {}), 100U);
  EXPECT_TRUE(image.segments.empty());
}

TEST(CropSegments, WithoutSegmentsNothingIsLeftOut) {
  std::vector<segment_t> segments;
  EXPECT_EQ(cropSegments(segments, {{0, 0xFFFFFFFF}}), 0U);
  EXPECT_TRUE(segments.empty());
}

// Near both ends of the address space, held against the plain rule: an address
// stays if a range has it.
TEST(CropSegments, RandomImagesKeepWhatTheRangesHave) {
  std::mt19937 generator(1);
  for (int round = 0; round < 5000; ++round) {
    const std::uint64_t base = round % 2 == 0 ? 0 : lastAddress - 63;
    const ByteMap bytes = randomBytes(generator, base, base + 63, 6, 12);
    std::vector<range_t> ranges;
    for (auto count = generator() % 5; count > 0; --count) {
      const std::uint64_t first = generator() % 64;
      ranges.push_back(
          {base + first, base + first + generator() % (64 - first)});
    }
    ByteMap expected;
    for (const auto& [address, byte] : bytes) {
      for (const range_t& range : ranges) {
        if (address >= range.first && address <= range.last) {
          expected[address] = byte;
        }
      }
    }
    OwnedSegments image(bytes, &generator);
    const std::uint64_t leftOut =
        cropSegments(image.segments, uniteRanges(ranges));
    ASSERT_EQ(bytesOf(image.segments), expected);
    ASSERT_EQ(leftOut, bytes.size() - expected.size());
    // Segments are as long as they can be.
    for (std::size_t i = 1; i < image.segments.size(); ++i) {
      ASSERT_LT(image.segments[i - 1].end(), image.segments[i].address);
    }
  }
}

}  // namespace
