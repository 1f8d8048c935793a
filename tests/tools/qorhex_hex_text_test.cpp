// SPDX-License-Identifier: MIT
//
// The Intel HEX text that qorhex writes, held against records made one by one
// and read back by the library.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <qorutil/intelhex.h>

#include "support/files.h"
#include "support/hexrecord.h"
#include "tools/qorhex_bytes.h"
#include "writing/hex_text.h"

namespace {

std::string hexTextOf(const std::vector<segment_t>& segments,
                      const std::vector<startRecord_t>& starts = {}) {
  std::string text;
  writeHexText(segments, starts, [&](const char* piece, std::size_t size) {
    text.append(piece, size);
  });
  return text;
}

const std::string endRecord = ":00000001FF\n";

TEST(HexText, OfNothingIsTheEndRecord) {
  EXPECT_EQ(hexTextOf({}), endRecord);
}

TEST(HexText, RecordsHaveSixteenBytesFromTheStartOfTheSegment) {
  ByteMap bytes;
  for (std::uint64_t i = 0; i < 40; ++i) {
    bytes[0x105 + i] = static_cast<unsigned char>(0xF0 + i);
  }
  bytes[0x200] = 0xAB;
  EXPECT_EQ(hexTextOf(OwnedSegments(bytes).segments),
            ":10010500F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF72\n"
            ":10011500000102030405060708090A0B0C0D0E0F62\n"
            ":08012500101112131415161736\n"
            ":01020000AB52\n" +
                endRecord);
}

TEST(HexText, RecordsBeginAnewBehindAnEdge) {
  ByteMap bytes;
  for (std::uint64_t i = 0; i < 20; ++i) {
    bytes[0xFFFB + i] = 0;
  }
  EXPECT_EQ(hexTextOf(OwnedSegments(bytes).segments),
            ":05FFFB00000000000001\n"
            ":020000040001F9\n"
            ":0F000000000000000000000000000000000000F1\n" +
                endRecord);
}

TEST(HexText, AnAddressRecordStandsWhereTheUpperHalfChanges) {
  const OwnedSegments image({0, 0x100, 0x10000, 0x10100, 0xFFFF0000}, 1, 1);
  EXPECT_EQ(hexTextOf(image.segments),
            ":0100000001FE\n"
            ":0101000001FD\n"
            ":020000040001F9\n"
            ":0100000001FE\n"
            ":0101000001FD\n"
            ":02000004FFFFFC\n"
            ":0100000001FE\n" +
                endRecord);
}

TEST(HexText, TheLastAddressIsReached) {
  const OwnedSegments image({0xFFFFFFF0}, 16, 0xFF);
  EXPECT_EQ(hexTextOf(image.segments),
            ":02000004FFFFFC\n"
            ":10FFF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF11\n" +
                endRecord);
}

TEST(HexText, StartAddressesStandBeforeTheEndRecord) {
  const OwnedSegments image({0}, 1);
  EXPECT_EQ(
      hexTextOf(image.segments, {{3, 0x12345678}, {5, 0xFFFFFFFF}}),
      ":0100000000FF\n:0400000312345678E5\n:04000005FFFFFFFFFB\n" + endRecord);
  EXPECT_EQ(hexTextOf({}, {{5, 0}}), ":0400000500000000F7\n" + endRecord);
}

TEST(HexText, StretchesOfAReversedSegmentFollowEachOther) {
  unsigned char low[] = {1, 2, 3};
  unsigned char high[] = {4, 5};
  const segment_t segment{0x10, 5, {{0x13, high, 2}, {0x10, low, 3}}};
  EXPECT_EQ(hexTextOf({segment}), ":050010000405010203DC\n" + endRecord);
}

// The same records, made one by one.
std::string referenceOf(const ByteMap& bytes) {
  std::string text;
  std::uint64_t upper = 0;
  for (auto at = bytes.begin(); at != bytes.end();) {
    const std::uint64_t start = at->first;
    if (start >> 16U != upper) {
      upper = start >> 16U;
      text += hexRecord(4, 0,
                        {static_cast<unsigned char>(upper >> 8U),
                         static_cast<unsigned char>(upper)}) +
              '\n';
    }
    std::vector<unsigned char> data;
    do {
      data.push_back(at->second);
      ++at;
    } while (at != bytes.end() && at->first == start + data.size() &&
             data.size() < 16 && (at->first & 0xFFFFU) != 0);
    text += hexRecord(0, static_cast<unsigned>(start & 0xFFFFU), data) + '\n';
  }
  return text + endRecord;
}

TEST(HexText, RandomImagesGiveTheRecordsMadeOneByOne) {
  std::mt19937 generator(1);
  for (int round = 0; round < 3000; ++round) {
    const std::uint64_t edges[] = {0x10000, 0xFFFF0000, 0x80000000, 0x40};
    const std::uint64_t middle = edges[generator() % 4];
    const ByteMap bytes =
        randomBytes(generator, middle - 64, middle + 63, 6, 50);
    ASSERT_EQ(hexTextOf(OwnedSegments(bytes, &generator).segments),
              referenceOf(bytes));
  }
}

// Larger than a piece, and with every byte value.
TEST(HexText, TheLibraryReadsItBack) {
  std::mt19937 generator(2);
  ByteMap bytes;
  for (std::uint64_t i = 0; i < 200000; ++i) {
    bytes[0x0800FFF7 + i] = static_cast<unsigned char>(generator());
  }
  bytes[0xFFFFFFFF] = 0;
  const OwnedSegments written(bytes, &generator);
  const TemporaryFolder folder;
  folder.write("out.hex", hexTextOf(written.segments));
  IntelHexFile image;
  ASSERT_TRUE(image.load(folder.path("out.hex").c_str(), false));
  ByteMap readBack;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    for (std::size_t at = 0; at < block.data.size(); ++at) {
      readBack[block.extAddress * std::uint64_t{0x10000} + block.address + at] =
          block.data[at];
    }
  }
  EXPECT_EQ(readBack, bytes);
}

// A line of 22 characters and 1488 of 44 leave room for 42 more.
TEST(HexText, APieceEndsWhereTheLongestLineHasNoRoom) {
  ByteMap bytes;
  for (std::uint64_t i = 0; i < 5; ++i) {
    bytes[i] = 0;
  }
  for (std::uint64_t i = 0; i < 30000; ++i) {
    bytes[0x100 + i] = 0;
  }
  const OwnedSegments owned(bytes);
  std::size_t largest = 0;
  writeHexText(owned.segments, {}, [&](const char*, std::size_t size) {
    largest = std::max(largest, size);
  });
  EXPECT_EQ(largest, 22U + 1488 * 44);
}

TEST(HexText, ComesInPiecesAndAllocatesNoGap) {
  const OwnedSegments image({0, 0xFFF00000}, 0x100000);
  std::size_t pieces = 0;
  std::size_t largest = 0;
  std::size_t total = 0;
  writeHexText(image.segments, {}, [&](const char*, std::size_t size) {
    ++pieces;
    largest = std::max(largest, size);
    total += size;
  });
  EXPECT_EQ(total, 2U * 65536 * 44 + 31 * 16 + endRecord.size());
  EXPECT_LE(largest, 65536U);
  EXPECT_LE(pieces, 100U);
}

}  // namespace
