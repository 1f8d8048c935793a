// SPDX-License-Identifier: MIT
//
// When which way is taken; that all of them give the same blocks is held by
// loader_test.cpp and random_test.cpp.

#include "ihex/block_builder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using qorutil_internal::BlockBuilder;
using Bytes = std::vector<unsigned char>;
using testing::ElementsAre;
using testing::IsEmpty;

struct Block {
  unsigned extAddress;
  unsigned address;
  Bytes data;
};

bool operator==(const Block& a, const Block& b) {
  return a.extAddress == b.extAddress && a.address == b.address &&
         a.data == b.data;
}

std::ostream& operator<<(std::ostream& os, const Block& block) {
  return os << block.extAddress << ':' << block.address << ' '
            << testing::PrintToString(block.data);
}

void add(BlockBuilder& builder, std::uint16_t extAddress, std::uint16_t address,
         const Bytes& data) {
  std::copy(data.begin(), data.end(), builder.next());
  builder.add(extAddress, address, data.size());
}

std::vector<Block> blocksOf(BlockBuilder& builder) {
  std::vector<Block> blocks;
  for (const std::unique_ptr<IntelHexFileBlock>& block : builder.blocks()) {
    EXPECT_EQ(block->size, block->data.size());
    blocks.push_back({block->extAddress, block->address, block->data});
  }
  return blocks;
}

TEST(BlockBuilder, OfNothingMakesNoBlock) {
  for (const bool singleBlock : {false, true}) {
    BlockBuilder builder(singleBlock);
    EXPECT_TRUE(builder.finish());
    EXPECT_THAT(blocksOf(builder), IsEmpty());
  }
}

// The fast way: a block is there as soon as another begins.
TEST(BlockBuilder, CutsAscendingRecordsAtOnce) {
  BlockBuilder builder(false);
  add(builder, 0, 0, {1, 2});
  add(builder, 0, 2, {3});
  EXPECT_THAT(blocksOf(builder), IsEmpty());
  add(builder, 0, 9, {4});
  EXPECT_THAT(blocksOf(builder), ElementsAre(Block{0, 0, {1, 2, 3}}));
  add(builder, 1, 0, {5});
  EXPECT_THAT(blocksOf(builder),
              ElementsAre(Block{0, 0, {1, 2, 3}}, Block{0, 9, {4}}));
  EXPECT_TRUE(builder.finish());
  EXPECT_THAT(
      blocksOf(builder),
      ElementsAre(Block{0, 0, {1, 2, 3}}, Block{0, 9, {4}}, Block{1, 0, {5}}));
}

TEST(BlockBuilder, GoesOnAtOnceBehindARepeatedAddress) {
  BlockBuilder builder(false);
  add(builder, 0, 5, {1, 2});
  add(builder, 0, 5, {9});
  add(builder, 0, 7, {3});
  add(builder, 0, 20, {4});
  EXPECT_THAT(blocksOf(builder), ElementsAre(Block{0, 5, {1, 2, 3}}));
}

// The plain way: nothing is cut before all records are there.
TEST(BlockBuilder, KeepsAllFromTheFirstThatDoesNotAscend) {
  BlockBuilder builder(false);
  add(builder, 0, 0x10, {1});
  add(builder, 0, 0x20, {2});
  EXPECT_EQ(builder.blocks().size(), 1U);
  add(builder, 0, 0, {3});
  EXPECT_THAT(blocksOf(builder), IsEmpty());
  add(builder, 1, 0, {4});
  add(builder, 2, 0, {5});
  EXPECT_THAT(blocksOf(builder), IsEmpty());
  EXPECT_TRUE(builder.finish());
  EXPECT_THAT(
      blocksOf(builder),
      ElementsAre(Block{0, 0, {3}}, Block{0, 0x10, {1}}, Block{0, 0x20, {2}},
                  Block{1, 0, {4}}, Block{2, 0, {5}}));
}

TEST(BlockBuilder, KeepsAllFromTheFirstWithoutData) {
  BlockBuilder builder(false);
  add(builder, 0, 0x10, {1});
  add(builder, 0, 0x11, {});
  add(builder, 1, 0, {2});
  EXPECT_THAT(blocksOf(builder), IsEmpty());
  EXPECT_TRUE(builder.finish());
  EXPECT_THAT(blocksOf(builder),
              ElementsAre(Block{0, 0x10, {1}}, Block{1, 0, {2}}));
}

// Records that were one block already come apart as they were read, since
// another may have to go in front of one of them or in its place.
TEST(BlockBuilder, TakesBlocksApartIntoTheirRecords) {
  BlockBuilder builder(false);
  add(builder, 0, 0x10, {1, 2, 3});
  add(builder, 0, 0x13, {4, 5});
  add(builder, 0, 0x15, {6});
  add(builder, 0, 0x12, {7, 8});
  add(builder, 0, 0x13, {9, 9});
  EXPECT_TRUE(builder.finish());
  EXPECT_THAT(blocksOf(builder),
              ElementsAre(Block{0, 0x10, {1, 2, 3}}, Block{0, 0x12, {7, 8}},
                          Block{0, 0x13, {4, 5, 6}}));
}

TEST(BlockBuilder, MakesASingleBlockAtTheEnd) {
  BlockBuilder builder(true);
  add(builder, 3, 0x14, {4, 5});
  add(builder, 3, 0x10, {1, 2});
  EXPECT_THAT(blocksOf(builder), IsEmpty());
  EXPECT_TRUE(builder.finish());
  EXPECT_THAT(blocksOf(builder),
              ElementsAre(Block{3, 0x10, {1, 2, 0xFF, 0xFF, 4, 5}}));
}

TEST(BlockBuilder, RefusesASingleBlockOfTwoUpperAddresses) {
  BlockBuilder builder(true);
  add(builder, 3, 0, {1});
  add(builder, 4, 0, {2});
  add(builder, 3, 1, {3});
  EXPECT_FALSE(builder.finish());
  EXPECT_THAT(blocksOf(builder), IsEmpty());
}

TEST(BlockBuilder, RefusesASingleBlockThatARecordReachesBeyond) {
  BlockBuilder builder(true);
  add(builder, 3, 0, {1, 2, 3, 4});
  add(builder, 3, 2, {5});
  EXPECT_FALSE(builder.finish());
  EXPECT_THAT(blocksOf(builder), IsEmpty());
}

}  // namespace
