// SPDX-License-Identifier: MIT
//
// Several texts that make one image: held against the rules done the plain way.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/image_reader.h"
#include "image/places.h"
#include "support/files.h"
#include "support/hexrecord.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<unsigned char>;

struct record_t {
  std::size_t file;
  std::uint64_t line;
  std::uint64_t address;
  Bytes data;

  std::uint64_t end() const { return address + data.size(); }

  bool has(std::uint64_t at) const { return at >= address && at < end(); }

  unsigned char byteAt(std::uint64_t at) const {
    return data[static_cast<std::size_t>(at - address)];
  }

  // Where the byte at `at` stands.
  std::tuple<std::size_t, std::uint64_t, std::uint64_t> placeOf(
      std::uint64_t at) const {
    return {file, line, 10 + 2 * (at - address)};
  }
};

struct texts_t {
  std::vector<std::string> texts;
  std::vector<record_t> records;  // in the order of texts and lines
};

enum class order_t { ASCENDING, ASCENDING_IN_EACH, ANY };

// Random texts; with `alike` every byte is that of its address, so that none
// conflicts. In ascending order none repeats a byte either.
texts_t makeTexts(unsigned seed, order_t order, bool alike) {
  std::mt19937 generator(seed);
  const auto below = [&](unsigned limit) {
    return static_cast<std::uint32_t>(generator() % limit);
  };
  texts_t made;
  made.texts.resize(1 + below(5));
  std::uint32_t next = 0xFE00 + below(0x100);
  for (std::size_t file = 0; file < made.texts.size(); ++file) {
    std::string& text = made.texts[file];
    if (order == order_t::ASCENDING_IN_EACH) {
      next = 0xFE00 + below(0x200);
    }
    std::uint64_t line = 0;
    std::uint32_t base = 0;
    for (unsigned i = 0, count = below(5) == 0 ? 0 : below(12); i < count;
         ++i) {
      const std::uint32_t size = below(4) == 0 ? 1 + below(60) : 16;
      const std::uint32_t address =
          order == order_t::ANY ? 0xFE00 + below(0x400) : next + below(2) * 3;
      next = address + size;
      if ((address & 0xFFFFU) + size > 0x10000) {
        continue;
      }
      Bytes data(size);
      for (std::uint32_t k = 0; k < size; ++k) {
        data[k] =
            static_cast<unsigned char>(alike ? (address + k) * 7 : below(2));
      }
      if (address >> 16U != base) {
        base = address >> 16U;
        text += hexRecord(4, 0, {0, static_cast<unsigned char>(base)}) + '\n';
        ++line;
      }
      text += hexRecord(0, address & 0xFFFFU, data) + '\n';
      made.records.push_back({file, ++line, address, data});
    }
    text += ":00000001FF\n";
  }
  return made;
}

struct outcome_t {
  image_t image;
  std::vector<problem_t> problems;
};

outcome_t readTexts(const std::vector<std::string>& texts, bool force,
                    const forbidden_t& forbidden = {}) {
  const TemporaryFolder folder;
  outcome_t outcome;
  const problemSink_t sink = [&](const problem_t& problem) {
    outcome.problems.push_back(problem);
  };
  std::vector<std::string> names;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    names.push_back(std::string(1, static_cast<char>('a' + i)));
  }
  ImageReader reader(names, {force, forbidden});
  for (std::size_t i = 0; i < texts.size(); ++i) {
    folder.write(names[i], texts[i]);
    TextInput text(folder.path(names[i]));
    reader.read(text, i, sink);
  }
  outcome.image = reader.finish(sink);
  return outcome;
}

std::map<std::uint64_t, unsigned char> bytesOf(const IntelHexFile& image) {
  std::map<std::uint64_t, unsigned char> bytes;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    for (std::size_t k = 0; k < block.data.size(); ++k) {
      EXPECT_TRUE(
          bytes
              .emplace(block.extAddress * 0x10000ULL + block.address + k,
                       block.data[k])
              .second);
    }
  }
  return bytes;
}

// The record whose byte counts, for each address: of the last text, there the
// one that begins highest, and of those the first.
std::map<std::uint64_t, const record_t*> ownersOf(
    const std::vector<record_t>& records) {
  std::map<std::uint64_t, const record_t*> owners;
  for (const record_t& record : records) {
    for (std::uint64_t at = record.address; at < record.end(); ++at) {
      const record_t*& owner = owners[at];
      if (owner == nullptr || record.file > owner->file ||
          record.address > owner->address) {
        owner = &record;
      }
    }
  }
  return owners;
}

void expectModel(const texts_t& made, bool force, unsigned seed) {
  const outcome_t outcome = readTexts(made.texts, force);
  ASSERT_THAT(outcome.problems, IsEmpty()) << seed;
  const auto owners = ownersOf(made.records);
  const auto bytes = bytesOf(outcome.image.blocks);
  ASSERT_EQ(bytes.size(), owners.size()) << seed;
  std::uint64_t conflicting = 0;
  std::uint64_t repeated = 0;
  for (const auto& [address, owner] : owners) {
    const place_t place =
        outcome.image.sources.of(static_cast<std::uint32_t>(address));
    ASSERT_EQ(std::tuple(place.file, place.line, place.column),
              owner->placeOf(address))
        << seed << ' ' << address;
    ASSERT_EQ(bytes.at(address), owner->byteAt(address)) << seed;
    std::size_t covering = 0;
    bool differs = false;
    for (const record_t& record : made.records) {
      if (record.has(address)) {
        ++covering;
        differs = differs || record.byteAt(address) != owner->byteAt(address);
      }
    }
    conflicting += differs ? 1 : 0;
    repeated += covering > 1 ? 1 : 0;
  }
  EXPECT_EQ(outcome.image.merged.conflicting, conflicting) << seed;
  if (conflicting == 0) {
    EXPECT_EQ(outcome.image.merged.repeated, repeated) << seed;
  }
}

TEST(MergeTexts, WithoutConflictsEveryByteIsThereWithItsPlace) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    const auto order = static_cast<order_t>(seed % 3);
    expectModel(makeTexts(seed, order, true), false, seed);
  }
}

TEST(MergeTexts, UnderForceTheLaterTextCounts) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    const auto order = static_cast<order_t>(seed % 3);
    expectModel(makeTexts(seed, order, false), true, seed);
  }
}

// First the address, as problems come by that.
using conflictPlace_t = std::tuple<std::uint64_t, std::size_t, std::uint64_t,
                                   std::uint64_t, std::string>;

TEST(MergeTexts, EveryPairOfRecordsInConflictIsToldAtTheLaterOne) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const texts_t made = makeTexts(seed, order_t::ANY, false);
    std::vector<conflictPlace_t> expected;
    for (const record_t& later : made.records) {
      for (const record_t& earlier : made.records) {
        if (&earlier == &later) {
          break;
        }
        std::uint64_t first = 0;
        std::uint64_t count = 0;
        for (std::uint64_t at = later.address; at < later.end(); ++at) {
          if (earlier.has(at) && earlier.byteAt(at) != later.byteAt(at) &&
              count++ == 0) {
            first = at;
          }
        }
        if (count != 0) {
          const auto [file, line, column] = later.placeOf(first);
          expected.emplace_back(first, file, line, column,
                                std::string(" of ") +
                                    static_cast<char>('a' + earlier.file) +
                                    ':' + std::to_string(earlier.line) + ", " +
                                    std::to_string(count) + " byte");
        }
      }
    }
    std::sort(expected.begin(), expected.end());
    std::vector<conflictPlace_t> told;
    for (const problem_t& problem : readTexts(made.texts, false).problems) {
      const std::string& text = problem.text;
      const std::size_t at = text.find(" at 0x") + 4;
      const std::size_t of = text.find(" of ");
      told.emplace_back(std::stoull(text.substr(at), nullptr, 16),
                        problem.fileIndex, problem.line, problem.column,
                        text.substr(of, text.find(" byte", of) + 5 - of));
      EXPECT_EQ(problem.file,
                std::string(1, static_cast<char>('a' + problem.fileIndex)));
    }
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end(),
                               [](const auto& a, const auto& b) {
                                 return std::get<0>(a) < std::get<0>(b);
                               }));
    std::sort(told.begin(), told.end());
    ASSERT_EQ(told, expected) << seed;
  }
}

TEST(MergeTexts, ARecordOfWhichEveryByteConflictsIsStillToldOnce) {
  const Bytes many(255, 1);
  const Bytes others(255, 2);
  const outcome_t outcome = readTexts(
      {hexRecord(0, 0, many) + '\n' + hexRecord(0, 0, many) + "\n:00000001FF\n",
       hexRecord(0, 0, others) + "\n:00000001FF\n"},
      false);
  ASSERT_EQ(outcome.problems.size(), 2U);
  EXPECT_EQ(outcome.problems[0].text,
            "byte 0x02 at 0x00000000 conflicts with 0x01 of a:1, 255 bytes in "
            "all; --force accepts that");
}

// All pairs of one address, by a look at every pair; and of many that agree
// each is told against the one that does not.
TEST(MergeTexts, PairsAreToldInTheOrderOfTheirLines) {
  std::string text;
  for (unsigned i = 0; i < 40; ++i) {
    text += hexRecord(0, 0, {static_cast<unsigned char>(i % 3)}) + '\n';
  }
  std::vector<std::string> expected;
  for (unsigned later = 0; later < 40; ++later) {
    for (unsigned earlier = 0; earlier < later; ++earlier) {
      if (later % 3 != earlier % 3) {
        expected.push_back(std::to_string(later + 1) +
                           " a:" + std::to_string(earlier + 1));
      }
    }
  }
  std::vector<std::string> told;
  for (const problem_t& problem :
       readTexts({text + ":00000001FF\n"}, false).problems) {
    const std::size_t at = problem.text.find("a:");
    told.push_back(std::to_string(problem.line) + ' ' +
                   problem.text.substr(at, problem.text.find(',') - at));
  }
  EXPECT_EQ(told, expected);
}

// Two FILEs alike: their lines and addresses would go on from one to the other.
TEST(MergeTexts, RunsOfPlacesEndWithTheirText) {
  const auto makeText = [](unsigned first, unsigned blankLines) {
    std::string text(blankLines, '\n');
    for (unsigned i = 0; i < 4; ++i) {
      text += hexRecord(0, first + 16 * i, Bytes(16, 1)) + '\n';
    }
    return text + ":00000001FF\n";
  };
  // With one record, with two, and with a run before the FILE ends.
  for (const std::string& end :
       {std::string(), hexRecord(0, 0xF000, {1}) + '\n'}) {
    const outcome_t outcome =
        readTexts({makeText(0, 0), makeText(64, 4), ":00000001FF\n",
                   std::string(8, '\n') + hexRecord(0, 128, Bytes(16, 1)) +
                       '\n' + ":00000001FF\n",
                   std::string(9, '\n') + hexRecord(0, 144, Bytes(16, 1)) +
                       '\n' + end + ":00000001FF\n"},
                  false);
    for (std::uint32_t address = 0; address < 160; ++address) {
      const place_t place = outcome.image.sources.of(address);
      const std::size_t file = address < 64    ? 0
                               : address < 128 ? 1
                               : address < 144 ? 3
                                               : 4;
      EXPECT_EQ(place.file, file) << address;
      EXPECT_EQ(place.line, 1 + address / 16) << address;
    }
  }
}

TEST(Places, ARunEndsWithTheColumn) {
  Places places;
  for (std::uint32_t i = 0; i < 3; ++i) {
    places.add(16 * i, {16 * i, 16, i + 1, 10});
  }
  places.add(48, {48, 16, 4, 12});
  EXPECT_EQ(places.at(47).column, 40U);
  EXPECT_EQ(places.at(48).column, 12U);
  EXPECT_EQ(places.all().size(), 2U);
}

TEST(Places, LinesMayBeAnyNumberApart) {
  constexpr std::uint64_t far = (std::uint64_t{1} << 32U) + 1;
  Places places;
  places.add(0, {0, 16, 1, 10});
  places.add(16, {16, 16, 1 + far, 10});
  places.add(32, {32, 16, 1 + 2 * far, 10});
  EXPECT_EQ(places.at(15).line, 1U);
  EXPECT_EQ(places.at(16).line, 1 + far);
  EXPECT_EQ(places.at(32).line, 1 + 2 * far);
}

TEST(MergeTexts, EqualStartAddressesAreOne) {
  const std::string start = hexRecord(5, 0, {0, 0, 0, 1}) + '\n';
  const std::string other = hexRecord(5, 0, {0, 0, 0, 2}) + '\n';
  const std::string segment = hexRecord(3, 0, {0, 0, 0, 2}) + '\n';
  const std::string end = ":00000001FF\n";
  const auto startsOf = [](const outcome_t& outcome) {
    std::vector<std::tuple<unsigned, unsigned, std::uint64_t, std::size_t>> all;
    for (const startAddress_t& one : outcome.image.startAddresses) {
      all.emplace_back(one.type, one.value, one.line, one.file);
    }
    return all;
  };
  const std::vector<std::string> equal{start + end, segment + start + end};
  EXPECT_THAT(startsOf(readTexts(equal, false)),
              ElementsAre(std::tuple(5, 1, 1, 0), std::tuple(3, 2, 1, 1)));
  const std::vector<std::string> different{start + end, other + end,
                                           "\n" + start + end};
  const outcome_t refused = readTexts(different, false);
  ASSERT_EQ(refused.problems.size(), 1U);
  EXPECT_EQ(refused.problems[0].text,
            "start address 0x00000002 conflicts with 0x00000001 of a:1; "
            "--force accepts that");
  EXPECT_EQ(refused.problems[0].fileIndex, 1U);
  EXPECT_EQ(refused.problems[0].column, 10U);
  const outcome_t forced = readTexts(different, true);
  EXPECT_THAT(forced.problems, IsEmpty());
  EXPECT_THAT(startsOf(forced), ElementsAre(std::tuple(5, 1, 2, 2)));
  EXPECT_EQ(forced.image.replacedStarts.size(), 2U);
}

// Data outside, by the plain way: byte by byte in the order of the texts.
TEST(MergeTexts, DataOutsideIsToldOncePerRun) {
  const forbidden_t forbidden =
      forbidOutside({{"low", {0xFE20, 0xFE9F}},
                     {"one", {0xFF00, 0xFF00}},
                     {"high", {0xFF41, 0x10080}}},
                    {{0xFE10, 0xFF3F}, {0xFF60, 0x100FF}});
  const auto isOutside = [&](std::uint64_t at) {
    return (at >= 0xFE10 && at < 0xFE20) || (at > 0xFE9F && at < 0xFF00) ||
           (at > 0xFF00 && at < 0xFF40) || (at > 0x10080 && at <= 0x100FF);
  };
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const texts_t made = makeTexts(seed, static_cast<order_t>(seed % 3), true);
    using run_t = std::tuple<std::uint64_t, std::size_t, std::uint64_t,
                             std::uint64_t, std::uint64_t>;
    std::vector<run_t> expected;
    std::uint64_t latest = 0;
    bool isOpen = false;
    std::size_t file = 0;
    for (const record_t& record : made.records) {
      isOpen = isOpen && record.file == file;
      file = record.file;
      for (std::uint64_t at = record.address; at < record.end(); ++at) {
        if (!isOutside(at)) {
          isOpen = false;
          continue;
        }
        if (!isOpen || at <= latest) {
          const auto [inFile, line, column] = record.placeOf(at);
          expected.emplace_back(at, inFile, line, column, 0);
        }
        ++std::get<4>(expected.back());
        isOpen = true;
        latest = at;
      }
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [](const run_t& a, const run_t& b) {
                       return std::get<0>(a) < std::get<0>(b);
                     });
    std::vector<run_t> told;
    for (const problem_t& problem :
         readTexts(made.texts, false, forbidden).problems) {
      const std::string& text = problem.text;
      told.emplace_back(std::stoull(text.substr(text.find("0x")), nullptr, 16),
                        problem.fileIndex, problem.line, problem.column,
                        std::stoull(text.substr(text.find("regions, ") + 9)));
      ASSERT_TRUE(problem.excerpt);
    }
    ASSERT_EQ(told, expected) << seed;
  }
}

}  // namespace
