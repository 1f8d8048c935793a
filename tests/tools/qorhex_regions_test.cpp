// SPDX-License-Identifier: MIT
//
// Maps, and what they forbid.

#include <cstdint>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/outside.h"
#include "image/regions.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Place = std::tuple<std::uint64_t, std::uint64_t>;

struct outcome_t {
  std::vector<std::string> regions;
  std::vector<Place> problems;
};

outcome_t readMap(const std::string& text) {
  const TemporaryFolder folder;
  folder.write("map", text);
  TextInput input(folder.path("map"));
  outcome_t outcome;
  const auto regions = readRegions(input, [&](const problem_t& problem) {
    outcome.problems.emplace_back(problem.line, problem.column);
  });
  for (const region_t& region : regions) {
    outcome.regions.push_back(region.name + ' ' +
                              std::to_string(region.range.first) + '-' +
                              std::to_string(region.range.last));
  }
  return outcome;
}

TEST(Regions, AscendWhateverTheirOrder) {
  const outcome_t outcome = readMap("c 20-29\na 0-9\nb 10-19\n");
  EXPECT_THAT(outcome.regions, ElementsAre("a 0-9", "b 10-19", "c 20-29"));
  EXPECT_THAT(outcome.problems, IsEmpty());
}

// Every byte as a name of its own: what is a blank, a comment, a name.
TEST(Regions, NamesAreLettersDigitsAndThreeSigns) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const outcome_t outcome =
        readMap(std::string("z 9-9\n") + character + " 1-2\n");
    const bool isName = (byte >= '0' && byte <= '9') ||
                        (byte >= 'A' && byte <= 'Z') ||
                        (byte >= 'a' && byte <= 'z') || byte == '_' ||
                        byte == '-' || byte == '.';
    if (isName && character != 'z') {
      EXPECT_THAT(outcome.problems, IsEmpty()) << byte;
      EXPECT_THAT(outcome.regions,
                  ElementsAre(std::string(1, character) + " 1-2", "z 9-9"));
    } else if (character == '#') {
      EXPECT_THAT(outcome.problems, IsEmpty());
    } else if (character == ' ' || character == '\t' || character == '\r') {
      // The range is then a name, and the only word.
      EXPECT_THAT(outcome.problems, ElementsAre(Place(2, 6))) << byte;
    } else if (character == '\n') {
      EXPECT_THAT(outcome.problems, ElementsAre(Place(3, 5)));
    } else {
      EXPECT_THAT(outcome.problems, ElementsAre(Place(2, 1))) << byte;
      EXPECT_THAT(outcome.regions, ElementsAre("z 9-9")) << byte;
    }
  }
}

// All pairs of ranges in eight addresses.
TEST(Regions, OverlapWhereTheyShareAnAddress) {
  for (unsigned a = 0; a < 8; ++a) {
    for (unsigned b = a; b < 8; ++b) {
      for (unsigned c = 0; c < 8; ++c) {
        for (unsigned d = c; d < 8; ++d) {
          const outcome_t outcome = readMap(
              "a " + std::to_string(a) + '-' + std::to_string(b) + "\nb " +
              std::to_string(c) + '-' + std::to_string(d) + '\n');
          const bool overlap = a <= d && c <= b;
          EXPECT_EQ(outcome.regions.size(), overlap ? 1U : 2U);
          EXPECT_EQ(outcome.problems.size(), overlap ? 1U : 0U);
        }
      }
    }
  }
}

TEST(Regions, LinesEndWhereTheBufferDoes) {
  constexpr std::size_t most = TextInput::pieceSize;
  const std::string region = "a 0-9";
  for (std::size_t size = most - 2; size <= most + 2; ++size) {
    const std::string line =
        region + std::string(size - region.size(), ' ') + '\n';
    const outcome_t outcome = readMap(line + "b 10-19\n");
    if (size < most) {
      EXPECT_THAT(outcome.regions, ElementsAre("a 0-9", "b 10-19")) << size;
      EXPECT_THAT(outcome.problems, IsEmpty()) << size;
    } else {
      EXPECT_THAT(outcome.problems, ElementsAre(Place(1, most + 1))) << size;
    }
    // With lines before it, so that it begins anywhere in the buffer.
    const outcome_t late =
        readMap(std::string(1000, '\n') + line.substr(3000) + "b 10-19\n");
    EXPECT_THAT(late.regions, ElementsAre("b 10-19"));
  }
}

TEST(Outside, IsAllButTheRegionsInTheRanges) {
  const std::vector<region_t> regions = {
      {"a", {2, 3}}, {"b", {4, 4}}, {"c", {8, 9}}};
  const auto rangesOf = [](const forbidden_t& forbidden) {
    std::vector<std::tuple<std::uint64_t, std::uint64_t>> all;
    for (const range_t& range : forbidden.ranges) {
      all.emplace_back(range.first, range.last);
    }
    return all;
  };
  EXPECT_THAT(rangesOf(forbidOutside(regions, {})),
              ElementsAre(Place(0, 1), Place(5, 7), Place(10, lastAddress)));
  EXPECT_THAT(rangesOf(forbidOutside({{"all", {0, lastAddress}}}, {})),
              IsEmpty());
  // Every range of twelve addresses, address by address.
  for (std::uint64_t first = 0; first < 12; ++first) {
    for (std::uint64_t last = first; last < 12; ++last) {
      std::set<std::uint64_t> expected;
      for (std::uint64_t at = first; at <= last; ++at) {
        if (at < 2 || (at > 4 && at < 8) || at > 9) {
          expected.insert(at);
        }
      }
      std::set<std::uint64_t> given;
      for (const auto& [from, to] :
           rangesOf(forbidOutside(regions, {{first, last}}))) {
        for (std::uint64_t at = from; at <= to; ++at) {
          given.insert(at);
        }
      }
      EXPECT_EQ(given, expected) << first << ' ' << last;
    }
  }
}

TEST(Outside, NamesTheNearestRegion) {
  const forbidden_t forbidden =
      forbidOutside({{"a", {2, 3}}, {"b", {8, 9}}, {"c", {20, 20}}}, {});
  const auto nearest = [&](std::uint64_t address) {
    const std::string text =
        outsideProblem({address, 1, 0, 1, 10, {}}, forbidden, "x").text;
    return text.substr(text.find("region is ") + 10, 1);
  };
  for (const unsigned address : {0U, 1U, 4U, 5U}) {
    EXPECT_EQ(nearest(address), "a") << address;
  }
  for (const unsigned address : {6U, 7U, 10U, 14U}) {
    EXPECT_EQ(nearest(address), "b") << address;
  }
  for (const unsigned address : {15U, 19U, 21U, 1000U}) {
    EXPECT_EQ(nearest(address), "c") << address;
  }
}

}  // namespace
