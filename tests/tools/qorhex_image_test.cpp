// SPDX-License-Identifier: MIT
//
// From texts to images and problems: held against the library, and against the
// rules done the plain way.

#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/image.h"
#include "image/image_reader.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/hexrecord.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<unsigned char>;
using ByteMap = std::map<std::uint64_t, unsigned char>;

constexpr char endRecord[] = ":00000001FF\n";

std::string line(unsigned type, unsigned offset, const Bytes& data) {
  return hexRecord(type, offset, data) + '\n';
}

std::string upper(unsigned value) {
  return line(4, 0,
              {static_cast<unsigned char>(value >> 8U),
               static_cast<unsigned char>(value)});
}

// What a text gives when no problem ends the reading.
struct outcome_t {
  image_t image;
  std::vector<std::string> problems;
};

outcome_t readAll(const std::string& text, bool force = false) {
  const TemporaryFolder folder;
  folder.write("fw.hex", text);
  TextInput input(folder.path("fw.hex"));
  outcome_t outcome;
  outcome.image = readImage(input, force, [&](const problem_t& problem) {
    outcome.problems.push_back(
        std::to_string(problem.line) + ':' + std::to_string(problem.column) +
        (problem.severity == severity_t::ERROR ? " error: " : " warning: ") +
        problem.text.substr(0, 20));
  });
  return outcome;
}

// The bytes by address; where blocks overlap, the later one counts.
ByteMap bytesOf(const IntelHexFile& image) {
  ByteMap bytes;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    for (std::size_t k = 0; k < block.data.size(); ++k) {
      bytes[block.extAddress * 0x10000ULL + block.address + k] = block.data[k];
    }
  }
  return bytes;
}

using Block = std::tuple<unsigned, unsigned, std::uint64_t, Bytes>;

std::vector<Block> blocksOf(const IntelHexFile& image) {
  std::vector<Block> blocks;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    blocks.emplace_back(image[i]->extAddress, image[i]->address, image[i]->size,
                        image[i]->data);
  }
  return blocks;
}

struct record_t {
  std::uint32_t address;
  Bytes data;
  std::size_t line;
};

// Random records that the library takes without dropping one. They overlap,
// have no data or cross a multiple of 64 KiB only if `odd`.
std::pair<std::string, std::vector<record_t>> makeText(unsigned seed, bool odd,
                                                       bool ascending) {
  std::mt19937 generator(seed);
  const auto below = [&](unsigned limit) {
    return static_cast<std::uint32_t>(generator() % limit);
  };
  std::set<std::uint64_t> used;
  std::vector<record_t> records;
  std::uint32_t next = 0xFF00 + below(0x80);
  for (unsigned i = 0, count = below(80); i < count; ++i) {
    const std::uint32_t size = below(8) == 0 ? below(256) : 16;
    next += below(3) == 0 ? below(odd ? 40 : 3) : 0;
    const std::uint32_t address = odd ? 0xFE00 + below(0x400) : next;
    const bool crosses = (address & 0xFFFFU) + size > 0x10000;
    if ((!odd && (crosses || size == 0)) || used.count(address) != 0) {
      next = crosses ? (address | 0xFFFFU) + 1 : next;
      continue;
    }
    used.insert(address);
    Bytes data(size);
    for (unsigned char& byte : data) {
      byte = static_cast<unsigned char>(below(256));
    }
    next = address + size;
    records.push_back({address, data, 0});
  }
  if (!ascending) {
    std::shuffle(records.begin(), records.end(), generator);
  }
  std::string text;
  std::size_t lines = 0;
  std::uint32_t base = 0;
  for (record_t& record : records) {
    if (record.address >> 16U != base) {
      base = record.address >> 16U;
      text += upper(base);
      ++lines;
    }
    text += line(0, record.address & 0xFFFFU, record.data);
    record.line = ++lines;
  }
  return {text + endRecord, records};
}

IntelHexFile load(const std::string& text) {
  const TemporaryFolder folder;
  folder.write("fw.hex", text);
  const Capture capture;  // of the warnings for records without data
  IntelHexFile image;
  EXPECT_TRUE(image.load(folder.path("fw.hex").c_str(), false));
  return image;
}

TEST(ReadImage, TheBlocksAreThoseOfTheLibraryWhereNothingIsOdd) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    const std::string text = makeText(seed, false, seed % 2 == 0).first;
    const outcome_t outcome = readAll(text);
    ASSERT_THAT(outcome.problems, IsEmpty()) << seed;
    ASSERT_EQ(blocksOf(outcome.image.blocks), blocksOf(load(text))) << seed;
  }
}

TEST(ReadImage, ARecordAcrossTheEdgeIsCutThereAndNowhereBehind) {
  const Bytes data(16, 0x5A);
  const outcome_t outcome =
      readAll(line(0, 0xFFF8, data) + upper(1) + line(0, 8, data) + endRecord);
  EXPECT_THAT(outcome.problems, IsEmpty());
  EXPECT_THAT(blocksOf(outcome.image.blocks),
              ElementsAre(Block{0, 0xFFF8, 8, Bytes(8, 0x5A)},
                          Block{1, 0, 24, Bytes(24, 0x5A)}));
}

TEST(ReadImage, TheBytesAreThoseOfTheLibraryWhateverItTakes) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    // A record at 0 without data is the only one that it refuses.
    const std::string text = makeText(seed, true, false).first;
    const outcome_t outcome = readAll(text, true);
    ASSERT_THAT(outcome.problems, IsEmpty()) << seed;
    ASSERT_EQ(bytesOf(outcome.image.blocks), bytesOf(load(text))) << seed;
  }
}

TEST(ReadImage, EveryByteKnowsItsPlace) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    const bool odd = seed % 3 == 0;
    const auto [text, records] = makeText(seed, odd, seed % 2 == 0);
    const outcome_t outcome = readAll(text, true);
    for (const auto& [address, byte] : bytesOf(outcome.image.blocks)) {
      const record_t* owner = nullptr;
      for (const record_t& record : records) {
        if (record.address <= address &&
            address < record.address + record.data.size() &&
            (owner == nullptr || owner->address < record.address)) {
          owner = &record;
        }
      }
      const place_t place =
          outcome.image.sources.of(static_cast<std::uint32_t>(address));
      ASSERT_EQ(place.line, owner->line) << seed;
      ASSERT_EQ(place.column, 10 + 2 * (address - owner->address)) << seed;
      ASSERT_EQ(byte, owner->data.at(
                          static_cast<std::size_t>(address - owner->address)))
          << seed;
    }
  }
}

TEST(ReadImage, OfOneStartTheFirstInTheTextIsThePlace) {
  const outcome_t outcome = readAll(line(0, 8, {9}) + ' ' + line(0, 0, {1, 2}) +
                                        line(0, 0, {1, 3, 4}) + endRecord,
                                    true);
  EXPECT_EQ(outcome.image.sources.of(1).line, 2U);
  EXPECT_EQ(outcome.image.sources.of(1).column, 13U);
  EXPECT_EQ(outcome.image.sources.of(2).line, 3U);
}

TEST(ReadImage, TheLastAddressOfAllHasItsPlaceInAnyOrder) {
  const outcome_t outcome = readAll(upper(0xFFFF) + line(0, 0xFFFE, {1, 2}) +
                                    line(0, 0, {3}) + endRecord);
  EXPECT_THAT(outcome.problems, IsEmpty());
  EXPECT_EQ(outcome.image.sources.of(0xFFFFFFFF).line, 2U);
  EXPECT_EQ(outcome.image.sources.of(0xFFFFFFFF).column, 12U);
  EXPECT_EQ(outcome.image.sources.of(0xFFFF0000).line, 3U);
}

TEST(ReadImage, ReadingGoesOnWhereTheSinkReturns) {
  const outcome_t outcome =
      readAll("rubbish\n" + line(0, 0, {1}) + ":0100010002FF\n" +
              line(6, 0, {1}) + line(0, 2, {3}) + ":00000001FE\n");
  EXPECT_THAT(outcome.problems,
              ElementsAre("1:1 error: no start code ':' at",
                          "3:12 error: wrong checksum 0xff,",
                          "4:8 error: unsupported record t",
                          "6:10 error: wrong checksum 0xfe,",
                          "6:12 error: the text ends withou"));
  EXPECT_EQ(bytesOf(outcome.image.blocks), (ByteMap{{0, 1}, {2, 3}}));
}

TEST(ReadImage, DataBehindADamagedAddressHasNoPlace) {
  const std::string base = upper(1);
  const std::string warning = " warning: data behind this lin";

  struct {
    std::string damaged;
    std::string problem;
    bool lost;
  } const cases[] = {
      {base.substr(0, 13) + "00\n", "2:14 error: wrong checksum 0x00,", true},
      {":02000004000\n", "2:13 error: shorter than its byt", true},
      {":0200000\n", "2:9 error: shorter than its byt", true},
      {":02000G0400 01\n", "2:7 error: not a hex digit; beh", true},
      {":0200000G0001F9\n", "2:9 error: not a hex digit; beh", true},
      {line(2, 0, {1}), "2:2 error: a record of type 0x0", true},
      {base.substr(1), "2:1 error: no start code ':' at", false},
      {":020000000001FC\n", "2:14 error: wrong checksum 0xfc,", false},
      {line(6, 0, {0, 1}), "2:8 error: unsupported record t", false},
  };

  for (const auto& tested : cases) {
    const outcome_t outcome =
        readAll(line(0, 0, {1}) + tested.damaged + line(0, 1, {2}) +
                ":0100020004FF\n" + upper(2) + line(0, 0, {5}) + endRecord);
    std::vector<std::string> expected{tested.problem};
    if (tested.lost) {
      expected.push_back(tested.problem.substr(0, tested.problem.find(' ')) +
                         warning);
    }
    expected.emplace_back("4:12 error: wrong checksum 0xff,");
    EXPECT_EQ(outcome.problems, expected);
    ByteMap bytes{{0, 1}, {1, 2}, {0x20000, 5}};
    if (tested.lost) {
      bytes.erase(1);
    }
    EXPECT_EQ(bytesOf(outcome.image.blocks), bytes) << tested.damaged;
  }
}

TEST(ReadImage, EveryPairInConflictIsOneProblem) {
  const outcome_t outcome =
      readAll(line(0, 0x10, {1, 2, 3}) + line(0, 0, {7}) + line(0, 0, {8}) +
              line(0, 0x11, {2, 4}) + line(0, 0x12, {5}) + endRecord);
  EXPECT_THAT(outcome.problems,
              ElementsAre("3:10 error: byte 0x08 at 0x00000",
                          "4:12 error: byte 0x04 at 0x00000",
                          "5:10 error: byte 0x05 at 0x00000",
                          "5:10 error: byte 0x05 at 0x00000"));
}

}  // namespace
