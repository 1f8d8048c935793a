// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ihex/expected.h"
#include "support/allocation.h"

namespace {

static_assert(std::is_copy_constructible_v<IntelHexFile>);
static_assert(std::is_copy_assignable_v<IntelHexFile>);
static_assert(std::is_nothrow_move_constructible_v<IntelHexFile>);
static_assert(std::is_nothrow_move_assignable_v<IntelHexFile>);
static_assert(!std::is_polymorphic_v<IntelHexFile>);
static_assert(std::is_same_v<IntelHexFileBlock*,
                             decltype(std::declval<const IntelHexFile&>()[0])>);
static_assert(std::is_same_v<void, decltype(std::declval<const IntelHexFile&>()
                                                .reverseBuffers())>);
static_assert(std::is_same_v<
              bool, decltype(std::declval<const IntelHexFile&>().hasData())>);
static_assert(
    std::is_same_v<std::size_t, decltype(std::declval<const IntelHexFile&>()
                                             .getBlockCount())>);

TEST(Image, StartsEmpty) {
  const IntelHexFile image;
  EXPECT_FALSE(image.hasData());
  EXPECT_EQ(image.getBlockCount(), 0U);
}

TEST(Image, OfRawDataIsOneBlockWithACopy) {
  unsigned char data[] = {1, 2, 3, 4};
  const IntelHexFile image(0x1234, 0x5678, 3, data);
  data[0] = 9;
  expectBlocks(image, {{0x1234, 0x5678, {1, 2, 3}}});
}

TEST(Image, OfNoRawDataIsABlockWithoutBytes) {
  const IntelHexFile image(0xFFFF, 0xFFFF, 0, nullptr);
  expectBlocks(image, {{0xFFFF, 0xFFFF, {}}});
}

// A size that a 32-bit target would cut to 1, and others that no vector holds.
TEST(Image, OfMoreRawDataThanAVectorHoldsIsRefused) {
  constexpr std::uint64_t most = std::numeric_limits<std::ptrdiff_t>::max();
  std::vector<std::uint64_t> sizes{most + 1, 0xFFFFFFFFFFFFFFFF};
  if (sizeof(std::size_t) == 4) {
    sizes.insert(sizes.end(), {0x100000000, 0x100000001});
  }
  const unsigned char byte = 7;
  for (const std::uint64_t size : sizes) {
    const AllocationCount count;
    EXPECT_THROW(IntelHexFile(1, 2, size, &byte), std::length_error) << size;
    EXPECT_EQ(count.live(), 0) << size;
  }
}

// An image of two blocks.
IntelHexFile twoBlocks() {
  const unsigned char data[] = {1, 2, 3, 4};
  IntelHexFile image(1, 2, 3, data);
  std::set<IntelHexFile::hexfileline_t> records;
  IntelHexFile::hexfileline_t record;
  record.address = 0x40;
  record.data = {8, 9};
  records.insert(record);
  image.createNewBlock(records.begin(), records.end());
  return image;
}

const std::vector<ExpectedBlock> theTwoBlocks{{1, 2, {1, 2, 3}},
                                              {0, 0x40, {8, 9}}};

TEST(Image, IndexBeyondTheLastBlockThrowsAText) {
  const IntelHexFile empty;
  const IntelHexFile image = twoBlocks();
  for (const auto& [tested, id] :
       {std::pair<const IntelHexFile&, std::size_t>{empty, 0},
        {image, 2},
        {image, 3},
        {image, static_cast<std::size_t>(-1)}}) {
    try {
      static_cast<void>(tested[id]);
      FAIL() << id;
    } catch (const char* text) {
      EXPECT_STREQ(text,
                   "IntelHexFile::operator[](size_t id): id outside of range!");
    }
  }
  expectBlocks(image, theTwoBlocks);
}

TEST(Image, BlocksCanBeChangedThroughAConstImage) {
  const IntelHexFile image = twoBlocks();
  image[0]->address = 0x99;
  EXPECT_EQ(image[0]->address, 0x99);
}

TEST(Image, ReversesEveryBlockForItself) {
  const IntelHexFile image = twoBlocks();
  image.reverseBuffers();
  expectBlocks(image, {{1, 2, {3, 2, 1}}, {0, 0x40, {9, 8}}});
}

TEST(Image, ClearDeletesAllBlocks) {
  IntelHexFile image = twoBlocks();
  image.clear();
  expectBlocks(image, {});
  image.clear();
  expectBlocks(image, {});
}

TEST(Image, CopyIsIndependent) {
  const IntelHexFile source = twoBlocks();
  const IntelHexFile copy(source);
  expectBlocks(copy, theTwoBlocks);
  copy.reverseBuffers();
  copy[0]->address = 0;
  expectBlocks(source, theTwoBlocks);
}

TEST(Image, AssignmentReplacesTheBlocksByCopies) {
  const IntelHexFile source = twoBlocks();
  const unsigned char byte = 7;
  IntelHexFile target(3, 4, 1, &byte);
  target = source;
  expectBlocks(target, theTwoBlocks);
  target.reverseBuffers();
  expectBlocks(source, theTwoBlocks);
}

TEST(Image, AssignmentToItselfChangesNothing) {
  IntelHexFile image = twoBlocks();
  const IntelHexFile& alias = image;
  image = alias;
  expectBlocks(image, theTwoBlocks);
}

TEST(Image, MoveTakesTheBlocksThemselves) {
  IntelHexFile source = twoBlocks();
  IntelHexFileBlock* const block = source[0];
  const IntelHexFile target(std::move(source));
  expectBlocks(target, theTwoBlocks);
  EXPECT_EQ(target[0], block);
  EXPECT_FALSE(source.hasData());  // NOLINT(bugprone-use-after-move): promised
}

TEST(Image, MoveAssignmentTakesTheBlocksAndLeavesNone) {
  IntelHexFile source = twoBlocks();
  IntelHexFileBlock* const block = source[0];
  IntelHexFile target = twoBlocks();
  target = std::move(source);
  expectBlocks(target, theTwoBlocks);
  EXPECT_EQ(target[0], block);
  EXPECT_FALSE(source.hasData());  // NOLINT(bugprone-use-after-move): promised
}

TEST(Image, MoveAssignmentToItselfChangesNothing) {
  IntelHexFile image = twoBlocks();
  IntelHexFile& alias = image;
  image = std::move(alias);
  expectBlocks(image, theTwoBlocks);
}

TEST(Image, CopyAndAssignmentHoldWhereverMemoryRunsOut) {
  const IntelHexFile source = twoBlocks();
  const unsigned char byte = 7;
  IntelHexFile target(3, 4, 1, &byte);
  const long copyFailures =
      failEveryAllocation([&] { const IntelHexFile copy(source); },
                          [&](long leaked) {
                            EXPECT_EQ(leaked, 0);
                            expectBlocks(source, theTwoBlocks);
                          });
  EXPECT_EQ(copyFailures, 5);  // the list, two blocks and their bytes
  const long failures =
      failEveryAllocation([&] { target = source; },
                          [&](long leaked) {
                            EXPECT_EQ(leaked, 0);
                            expectBlocks(target, {{3, 4, {7}}});
                          });
  EXPECT_EQ(failures, copyFailures);
  expectBlocks(target, theTwoBlocks);
}

TEST(Image, OfRawDataThrowsWhereverMemoryRunsOut) {
  const unsigned char byte = 7;
  const long failures =
      failEveryAllocation([&] { const IntelHexFile image(3, 4, 1, &byte); },
                          [](long leaked) { EXPECT_EQ(leaked, 0); });
  EXPECT_EQ(failures, 3);
}

}  // namespace
