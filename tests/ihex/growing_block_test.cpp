// SPDX-License-Identifier: MIT

#include "ihex/growing_block.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace {

using qorutil_internal::GrowingBlock;
using Bytes = std::vector<unsigned char>;

class Growing : public testing::Test {
 protected:
  void start(std::uint32_t key, const Bytes& data) {
    block.start(key, data.data(), data.size());
  }

  void append(std::uint32_t key, const Bytes& data) {
    std::copy(data.begin(), data.end(), block.end());
    block.append(key, data.size());
  }

  void expectFinished(unsigned extAddress, unsigned address,
                      const Bytes& data) {
    const std::unique_ptr<IntelHexFileBlock> finished = block.finish();
    EXPECT_EQ(finished->extAddress, extAddress);
    EXPECT_EQ(finished->address, address);
    EXPECT_EQ(finished->size, data.size());
    EXPECT_EQ(finished->data, data);
    EXPECT_TRUE(block.empty());
  }

  GrowingBlock block;
};

TEST_F(Growing, HoldsTheRecordsBehindEachOther) {
  EXPECT_TRUE(block.empty());
  start(0x12345678, {1, 2, 3});
  EXPECT_FALSE(block.empty());
  append(0x1234567B, {4, 5});
  append(0x1234567D, {6});
  EXPECT_EQ(block.getLastKey(), 0x1234567DU);
  expectFinished(0x1234, 0x5678, {1, 2, 3, 4, 5, 6});
}

TEST_F(Growing, StartsAgainWithBytesFromItsOwnBuffer) {
  start(0, {1, 2, 3, 4});
  block.end()[0] = 7;
  block.end()[1] = 8;
  const unsigned char* const data = block.end();
  expectFinished(0, 0, {1, 2, 3, 4});
  block.start(0x20000, data, 2);
  append(0x20002, {9});
  expectFinished(2, 0, {7, 8, 9});
}

TEST_F(Growing, WithoutARecordIsContinuedByNone) {
  for (const std::uint32_t key : {0U, 1U, 0x10000U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(block.isContinuedBy(key));
  }
  start(0, {1});
  expectFinished(0, 0, {1});
  EXPECT_FALSE(block.isContinuedBy(1));
}

TEST_F(Growing, IsContinuedWhereTheLastRecordEnded) {
  start(0x20010, Bytes(16, 1));
  append(0x20020, Bytes(8, 2));
  EXPECT_TRUE(block.isContinuedBy(0x20028));
  for (const std::uint32_t key : {0x20021U, 0x20027U, 0x20029U, 0x30028U}) {
    EXPECT_FALSE(block.isContinuedBy(key)) << key;
  }
}

TEST_F(Growing, IsNotContinuedUnderTheNextUpperAddress) {
  start(0x2FFF0, Bytes(16, 1));
  EXPECT_FALSE(block.isContinuedBy(0x30000));
  expectFinished(2, 0xFFF0, Bytes(16, 1));
  start(0x2FFFF, Bytes(3, 1));
  EXPECT_FALSE(block.isContinuedBy(0x30002));
  expectFinished(2, 0xFFFF, Bytes(3, 1));
  start(0xFFFFFFFF, {1});
  EXPECT_FALSE(block.isContinuedBy(0));
}

TEST_F(Growing, HasRoomForTheLongestBlockAndARecordMore) {
  Bytes all(0xFFFF, 1);
  start(0, Bytes(255, 1));
  for (unsigned address = 255; address < 0xFFFF; address += 255) {
    append(address, Bytes(255, 1));
  }
  append(0xFFFF, Bytes(255, 2));
  std::fill_n(block.end(), 255, std::uint8_t{3});
  all.insert(all.end(), 255, 2);
  expectFinished(0, 0, all);
}

}  // namespace
