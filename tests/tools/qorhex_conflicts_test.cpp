// SPDX-License-Identifier: MIT
//
// Records of one FILE that overlap, and random texts.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

struct mergeCase_t {
  const char* name;
  std::string text;
  std::string image;
  unsigned repeated;
};

class QorhexMerge : public Qorhex,
                    public testing::WithParamInterface<mergeCase_t> {};

TEST_P(QorhexMerge, KeepsEveryByteOnce) {
  const mergeCase_t& tested = GetParam();
  expectImage(
      tested.text + endLine, tested.image,
      "qorhex: fw.hex: " + std::to_string(tested.repeated) +
          (tested.repeated == 1 ? " repeated byte" : " repeated bytes") +
          " merged\nqorhex: fw.bin: written\n",
      {"-v"});
}

const mergeCase_t mergeCases[] = {
    {"TheSameRecordTwice", dataLine(0, "abcd") + dataLine(0, "abcd"), "abcd",
     4},
    {"OneByteTwice", dataLine(0, "a") + dataLine(0, "a"), "a", 1},
    {"TheSameRecordFourTimes",
     dataLine(0, "ab") + dataLine(0, "ab") + dataLine(0, "ab") +
         dataLine(0, "ab"),
     "ab", 2},
    {"LaterIsLonger", dataLine(0, "ab") + dataLine(0, "abcd"), "abcd", 2},
    {"LaterIsShorter", dataLine(0, "abcd") + dataLine(0, "ab"), "abcd", 2},
    {"LongerBetweenShorter",
     dataLine(0, "ab") + dataLine(0, "abcde") + dataLine(0, "abc") +
         dataLine(5, "f"),
     "abcdef", 3},
    {"OneInsideTheOther", dataLine(0, "abcdef") + dataLine(2, "cd"), "abcdef",
     2},
    {"TheOuterOneLater", dataLine(2, "cd") + dataLine(0, "abcdef"), "abcdef",
     2},
    {"ChainOfThree",
     dataLine(4, "efgh") + dataLine(2, "cdef") + dataLine(0, "abcd"),
     "abcdefgh", 4},
    {"LongOneUnderSeveralShortOnes",
     dataLine(0, "abcdefghij") + dataLine(1, "b") + dataLine(3, "de") +
         dataLine(8, "ijkl"),
     "abcdefghijkl", 5},
    {"Across64KiB",
     dataLine(0xFFFE, "abcd") + baseLine(4, 1) + dataLine(0, "cdef"), "abcdef",
     2},
    {"SegmentAgainstLinear",
     baseLine(4, 1) + dataLine(0, "abcd") + baseLine(2, 0x1000) +
         dataLine(2, "cdef"),
     "abcdef", 2},
    {"TwoSegmentsOfOneAddress",
     baseLine(2, 0x1000) + dataLine(0x10, "abcd") + baseLine(2, 0x1001) +
         dataLine(0, "abcdef"),
     "abcdef", 4},
    {"WrappedOverItsBeginning",
     baseLine(2, 0) + dataLine(0, "cdef") + dataLine(0xFFFE, "abcd"),
     "cdef" + std::string(0xFFFA, '\xFF') + "ab", 2},
    {"LongestRecordsShiftedByOne",
     dataLine(1, std::string(255, 'x')) + dataLine(0, std::string(255, 'x')),
     std::string(256, 'x'), 254},
    {"BlanksAroundARepeat",
     "  " + dataLine(0, "abcd").substr(0, 19) + "\t\r\n\n" +
         dataLine(2, "cdef"),
     "abcdef", 2},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexMerge, testing::ValuesIn(mergeCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, MergedRepeatsAreOneSegment) {
  folder.write("fw.hex", dataLine(0, "abcdef") + dataLine(2, "cd") +
                             dataLine(0, "abcdefgh") + endLine);
  EXPECT_EQ(run({"fw.hex"}).out,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000007  8  8B\n"
            "total                          8  8B\n");
}

struct conflictCase_t {
  const char* name;
  std::string text;
  std::string place;
  std::string message;
};

class QorhexConflict : public Qorhex,
                       public testing::WithParamInterface<conflictCase_t> {};

TEST_P(QorhexConflict, IsRefusedWithBothPlaces) {
  folder.write("fw.hex", GetParam().text + endLine);
  expectRefusal({"-b", "fw.bin", "fw.hex"},
                "fw.hex:" + GetParam().place + ": error: byte " +
                    GetParam().message + " in all; --force accepts that\n");
}

const conflictCase_t conflictCases[] = {
    {"InTheMiddle", dataLine(0x10, "abcd") + "\n" + dataLine(0x12, "cX"),
     "3:12", "0x58 at 0x00000013 conflicts with 0x64 of fw.hex:1, 1 byte"},
    {"LaterLineStartsLower", dataLine(2, "X") + dataLine(0, "abc"), "2:14",
     "0x63 at 0x00000002 conflicts with 0x58 of fw.hex:1, 1 byte"},
    {"SeveralBytes", dataLine(0, "abcdef") + "  " + dataLine(1, "XcYZfg"),
     "2:12", "0x58 at 0x00000001 conflicts with 0x62 of fw.hex:1, 3 bytes"},
    {"LowestAddressFirst",
     dataLine(0x20, "a") + dataLine(0x20, "b") + dataLine(0x10, "ab") +
         dataLine(0x11, "c"),
     "4:10", "0x63 at 0x00000011 conflicts with 0x62 of fw.hex:3, 1 byte"},
    {"LowestAddressIsOfThePieceBehind",
     dataLine(0, "abcdefgh") + dataLine(1, "bcdeXXX") + dataLine(2, "CD"),
     "3:10", "0x43 at 0x00000002 conflicts with 0x63 of fw.hex:1, 2 bytes"},
    {"FirstLineAgainstTheFirstThatDiffers",
     dataLine(0, "a") + dataLine(0, "a") + dataLine(0, "b") + dataLine(0, "c"),
     "3:10", "0x62 at 0x00000000 conflicts with 0x61 of fw.hex:1, 1 byte"},
    {"AcrossTheRepeat",
     dataLine(4, "x") + dataLine(0, "abcdx") + dataLine(3, "dy"), "3:12",
     "0x79 at 0x00000004 conflicts with 0x78 of fw.hex:1, 1 byte"},
    {"WrappedPart",
     baseLine(2, 0) + dataLine(0xFFFE, "abcd") + dataLine(0, "cX"), "3:12",
     "0x58 at 0x00000001 conflicts with 0x64 of fw.hex:2, 1 byte"},
    {"WrappedPartLater",
     baseLine(2, 0) + dataLine(0, "cX") + dataLine(0xFFFE, "abcd"), "3:16",
     "0x64 at 0x00000001 conflicts with 0x58 of fw.hex:2, 1 byte"},
    {"EvenlySteppedLines",
     dataLine(0, "ab") + "\n" + dataLine(2, "cd") + "\n" + dataLine(4, "ef") +
         "\n" + dataLine(3, "d!f"),
     "7:12", "0x21 at 0x00000004 conflicts with 0x65 of fw.hex:5, 1 byte"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexConflict,
                         testing::ValuesIn(conflictCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Qorhex, DamageComesBeforeConflicts) {
  folder.write("fw.hex", abcdLine + dataLine(0, "X") + "rubbish\n" + endLine);
  expectRefusal({"fw.hex"},
                "fw.hex:3:1: error: no start code ':' at the beginning; every "
                "line is a record, comments are not understood\n"
                "rubbish\n"
                "^\n");
}

TEST_F(Qorhex, ForceTakesTheFirstOfOneAddressForTheCommonBytes) {
  expectImage(dataLine(0, "abcd") + dataLine(0, "ABCDEF") + endLine, "abcdEF",
              "qorhex: fw.hex: 4 conflicting bytes accepted (--force)\n",
              {"--force"});
  expectImage(dataLine(0, "aBCDEF") + dataLine(0, "ab") + endLine, "aBCDEF",
              "qorhex: fw.hex: 1 conflicting byte accepted (--force)\n",
              {"--force"});
}

TEST_F(Qorhex, ForceTakesTheHigherStartElsewhere) {
  expectImage(dataLine(2, "CD") + dataLine(0, "abcdef") + endLine, "abCDef",
              "qorhex: fw.hex: 2 conflicting bytes accepted (--force)\n",
              {"--force"});
}

TEST_F(Qorhex, ForceCountsAnAddressOnce) {
  expectImage(dataLine(0, "a") + dataLine(0, "b") + dataLine(0, "c") + endLine,
              "a", "qorhex: fw.hex: 1 conflicting byte accepted (--force)\n",
              {"--force"});
}

TEST_F(Qorhex, ForceSaysNothingWithoutConflicts) {
  expectImage(dataLine(0, "ab") + dataLine(1, "bc") + endLine, "abc", "",
              {"--force"});
}

// A random text, and what it stands for by the rules.
struct randomText_t {
  std::string text;
  std::map<std::uint32_t, char> image;
  unsigned conflicting{0};
};

struct placed_t {
  std::uint32_t address;
  std::string data;
};

// Lays the pieces over each other: the higher start wins, of one start the
// first in the text.
void layPieces(std::vector<placed_t> pieces, randomText_t& random) {
  std::map<std::uint32_t, bool> differs;
  std::reverse(pieces.begin(), pieces.end());
  std::stable_sort(pieces.begin(), pieces.end(),
                   [](const placed_t& one, const placed_t& two) {
                     return one.address < two.address;
                   });
  for (const placed_t& piece : pieces) {
    for (std::size_t i = 0; i < piece.data.size(); ++i) {
      const auto at = static_cast<std::uint32_t>(piece.address + i);
      const auto known = random.image.find(at);
      if (known != random.image.end() && known->second != piece.data[i]) {
        differs[at] = true;
      }
      random.image[at] = piece.data[i];
    }
  }
  random.conflicting = static_cast<unsigned>(differs.size());
}

// With `consistent`, a byte depends on its address alone.
randomText_t makeRandomText(unsigned seed, bool consistent) {
  std::mt19937 generator(seed);
  const auto below = [&](unsigned limit) {
    return static_cast<unsigned>(generator() % limit);
  };
  randomText_t random;
  std::vector<placed_t> pieces;
  std::uint32_t base = 0;
  bool segmented = false;
  const unsigned range = 40 + below(600);
  const unsigned records = 1 + below(60);
  for (unsigned i = 0; i < records; ++i) {
    if (below(4) == 0) {
      segmented = below(2) == 0;
      // Both kinds of base lie around the edge at 0x10000.
      const unsigned value = segmented ? 0xFF0 + below(32) : below(2);
      base = value * (segmented ? 16 : 0x10000);
      random.text += baseLine(segmented ? 2 : 4, value);
    }
    const std::uint32_t target = 0x10000 - range / 2 + below(range);
    const std::uint32_t offset = (target - base) & 0xFFFFU;
    std::string data(1 + below(below(4) == 0 ? 255 : 20), '\0');
    std::vector<placed_t> parts;
    for (std::size_t k = 0; k < data.size(); ++k) {
      const auto linear = static_cast<std::uint32_t>(offset + k);
      const std::uint32_t at = base + (segmented ? linear & 0xFFFFU : linear);
      data[k] = static_cast<char>(consistent ? at * 2654435761U >> 13U
                                             : 'a' + below(2));
      if (k == 0 || (segmented && linear == 0x10000)) {
        parts.push_back({at, {}});
      }
      parts.back().data += data[k];
    }
    pieces.insert(pieces.end(), parts.begin(), parts.end());
    random.text += dataLine(offset, data);
  }
  random.text += endLine;
  layPieces(pieces, random);
  return random;
}

// What --output should write, by file name.
std::map<std::string, std::string> segmentsOf(const randomText_t& random) {
  std::map<std::string, std::string> files;
  std::string name;
  std::uint32_t expected = 0;
  for (const auto& [address, byte] : random.image) {
    if (name.empty() || address != expected) {
      char text[16];
      snprintf(text, sizeof text, "%08x", address);
      name = std::string("fw-") + text + ".bin";
    }
    files[name] += byte;
    expected = address + 1;
  }
  return files;
}

std::string flatImageOf(const randomText_t& random) {
  const std::uint32_t first = random.image.begin()->first;
  std::string image(random.image.rbegin()->first - first + 1, '\xFF');
  for (const auto& [address, byte] : random.image) {
    image[address - first] = byte;
  }
  return image;
}

void checkSegmentFiles(const TemporaryFolder& folder,
                       const std::map<std::string, std::string>& segments) {
  EXPECT_EQ(folder.names().size(), segments.size() + 1);
  for (const auto& [name, bytes] : segments) {
    EXPECT_EQ(folder.read(name), bytes) << name;
  }
}

void checkRandomTexts(unsigned firstSeed, bool consistent) {
  for (unsigned seed = firstSeed; seed < firstSeed + 100; ++seed) {
    const randomText_t random = makeRandomText(seed, consistent);
    const TemporaryFolder folder;
    folder.write("fw.hex", random.text);
    std::vector<std::string> command{QORHEX_PROGRAM, "-b", "/dev/stdout",
                                     "fw.hex"};
    if (!consistent) {
      command.emplace_back("--force");
    }
    // Every segment costs a sync of the disk.
    const bool segmentFiles = seed % 20 == 0;
    if (segmentFiles) {
      command.insert(command.end(), {"-o", "."});
    }
    const processResult_t result = runProcess(command, folder.path());
    const std::string message =
        "qorhex: fw.hex: " + std::to_string(random.conflicting) +
        (random.conflicting == 1 ? " conflicting byte" : " conflicting bytes") +
        " accepted (--force)\n";
    ASSERT_EQ(result.err, random.conflicting == 0 ? "" : message) << seed;
    ASSERT_EQ(result.status, 0) << seed;
    ASSERT_EQ(result.out, flatImageOf(random)) << seed;
    if (segmentFiles) {
      checkSegmentFiles(folder, segmentsOf(random));
    }
  }
}

TEST(QorhexRandom, ConsistentTextsGiveTheirMemoryImage) {
  checkRandomTexts(1, true);
}

TEST(QorhexRandom, ConflictingTextsFollowTheRules) {
  checkRandomTexts(1000, false);
}

}  // namespace
