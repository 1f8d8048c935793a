// SPDX-License-Identifier: MIT
//
// Where two images differ, held against a plain comparison.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "image/differences.h"
#include "tools/qorhex_bytes.h"

namespace {

const std::map<differenceKind_t, char> kindLetters = {
    {differenceKind_t::ONLY_A, 'a'},
    {differenceKind_t::ONLY_B, 'b'},
    {differenceKind_t::DIFFERS, 'd'},
};

// Each difference as kind, first and last address.
std::string textOf(const std::vector<segment_t>& a,
                   const std::vector<segment_t>& b) {
  std::string text;
  findDifferences(SegmentWalk(a), SegmentWalk(b),
                  [&text](const difference_t& difference) {
                    text += kindLetters.at(difference.kind);
                    text += std::to_string(difference.range.first) + '-' +
                            std::to_string(difference.range.last) + ' ';
                  });
  return text;
}

// The rule: every address of either image for itself; neighbours with the same
// letter are one.
std::string plainText(const ByteMap& a, const ByteMap& b) {
  std::map<std::uint64_t, char> letters;
  for (const auto& [address, byte] : a) {
    const auto other = b.find(address);
    if (other == b.end()) {
      letters[address] = 'a';
    } else if (other->second != byte) {
      letters[address] = 'd';
    }
  }
  for (const auto& [address, byte] : b) {
    if (a.count(address) == 0) {
      letters[address] = 'b';
    }
  }
  std::string text;
  for (auto at = letters.begin(); at != letters.end();) {
    const auto [first, letter] = *at;
    std::uint64_t last = first;
    while (++at != letters.end() && at->first == last + 1 &&
           at->second == letter) {
      ++last;
    }
    text += letter + std::to_string(first) + '-' + std::to_string(last) + ' ';
  }
  return text;
}

TEST(FindDifferences, EqualImagesHaveNone) {
  const OwnedSegments a({100, 300}, 50, 7);
  const OwnedSegments b({100, 300}, 50, 7);
  EXPECT_EQ(textOf(a.segments, b.segments), "");
  EXPECT_EQ(textOf({}, {}), "");
}

TEST(FindDifferences, AbsentIsNotErased) {
  const OwnedSegments a({100}, 50, 0xFF);
  EXPECT_EQ(textOf(a.segments, {}), "a100-149 ");
  EXPECT_EQ(textOf({}, a.segments), "b100-149 ");
}

TEST(FindDifferences, EveryRunIsAsLongAsItCanBe) {
  const OwnedSegments a({100, 110, 120}, 10, 1);
  const OwnedSegments b({105, 115}, 10, 2);
  EXPECT_EQ(textOf(a.segments, b.segments), "a100-104 d105-124 a125-129 ");
}

TEST(FindDifferences, ReachesTheLastAddress) {
  const OwnedSegments a({0xFFFFFFF0}, 16, 1);
  const OwnedSegments b({0xFFFFFFF8}, 8, 2);
  EXPECT_EQ(textOf(a.segments, b.segments),
            "a4294967280-4294967287 d4294967288-4294967295 ");
}

// One byte at every place of images longer than what is compared at once.
TEST(FindDifferences, OneByteIsSeenWhereverItIs) {
  constexpr std::size_t size = 600;
  const OwnedSegments a({1000}, size);
  OwnedSegments b({1000}, size);
  unsigned char* const bytes = b.segments[0].stretches[0].data;
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = 1;
    const std::string place = std::to_string(1000 + i);
    std::string expected = "d";
    expected += place;
    expected += '-';
    expected += place;
    expected += ' ';
    ASSERT_EQ(textOf(a.segments, b.segments), expected);
    bytes[i] = 0;
  }
}

// At both ends of the address space; the second image has some of the first
// one's bytes, some of its own, and some changed.
// The bytes in front of the first image are what it would be equal with.
TEST(FindDifferences, NoOtherBytesThanThoseOfTheImagesCount) {
  std::vector<unsigned char> memory(3 * 256, 7);
  std::fill(memory.end() - 256, memory.end(), 8);
  const std::vector<segment_t> a{
      {0, 512, {{0, memory.data() + 256, 512}}},
  };
  const OwnedSegments b({0}, 512, 7);
  EXPECT_EQ(textOf(a, b.segments), "d256-511 ");
}

TEST(FindDifferences, RandomImagesDifferWhereAPlainComparisonSays) {
  std::mt19937 generator(1);
  for (int round = 0; round < 5000; ++round) {
    const std::uint64_t span = round % 20 == 0 ? 2000 : 64;
    const std::uint64_t base = round % 2 == 0 ? 0 : lastAddress - span + 1;
    const std::uint64_t last = base + span - 1;
    const auto longest = static_cast<unsigned>(span / 5);
    const ByteMap a = randomBytes(generator, base, last, 6, longest);
    ByteMap b = randomBytes(generator, base, last, 3, longest);
    for (const auto& [address, byte] : a) {
      const auto chance = generator() % span;
      if (chance >= 2) {
        b[address] = chance < 6 ? static_cast<unsigned char>(~byte) : byte;
      }
    }
    const OwnedSegments first(a, &generator);
    const OwnedSegments second(b, &generator);
    ASSERT_EQ(textOf(first.segments, second.segments), plainText(a, b));
    ASSERT_EQ(textOf(second.segments, first.segments), plainText(b, a));
    ASSERT_EQ(textOf(first.segments, first.segments), "");
  }
}

TEST(StartAddressesDiffer, OnlyInTypeAndValue) {
  const startAddress_t linear{5, 0x100, 3};
  const startAddress_t segment{3, 0x100, 4};
  EXPECT_FALSE(startAddressesDiffer({}, {}));
  EXPECT_FALSE(startAddressesDiffer({linear}, {{5, 0x100, 9}}));
  EXPECT_FALSE(startAddressesDiffer({linear, segment}, {segment, linear}));
  EXPECT_TRUE(startAddressesDiffer({linear}, {}));
  EXPECT_TRUE(startAddressesDiffer({}, {linear}));
  EXPECT_TRUE(startAddressesDiffer({linear}, {segment}));
  EXPECT_TRUE(startAddressesDiffer({linear}, {{5, 0x101, 3}}));
  EXPECT_TRUE(startAddressesDiffer({linear}, {linear, segment}));
}

}  // namespace
