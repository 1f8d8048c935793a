// SPDX-License-Identifier: MIT

#include "ihex/record_store.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation.h"

namespace {

using qorutil_internal::RecordStore;
using Bytes = std::vector<unsigned char>;
using KeyedBytes = std::vector<std::pair<std::uint32_t, Bytes>>;

void add(RecordStore& store, std::uint32_t key, const Bytes& data) {
  std::copy(data.begin(), data.end(), store.next());
  store.add(key, data.size());
}

KeyedBytes contents(const RecordStore& store) {
  KeyedBytes records;
  for (std::size_t i = 0; i < store.size(); ++i) {
    records.emplace_back(store.key(i),
                         Bytes(store.data(i), store.data(i) + store.count(i)));
  }
  return records;
}

TEST(RecordStore, KeepsTheOrderOfReadingUntilItIsSorted) {
  RecordStore store;
  EXPECT_TRUE(store.empty());
  add(store, 7, {1, 2, 3});
  add(store, 3, {});
  add(store, 0xFFFFFFFF, Bytes(255, 4));
  add(store, 0, {5});
  EXPECT_FALSE(store.empty());
  EXPECT_EQ(
      contents(store),
      (KeyedBytes{
          {7, {1, 2, 3}}, {3, {}}, {0xFFFFFFFF, Bytes(255, 4)}, {0, {5}}}));
  store.sort();
  EXPECT_EQ(
      contents(store),
      (KeyedBytes{
          {0, {5}}, {3, {}}, {7, {1, 2, 3}}, {0xFFFFFFFF, Bytes(255, 4)}}));
}

TEST(RecordStore, SortsNothing) {
  RecordStore store;
  store.sort();
  EXPECT_TRUE(store.empty());
}

TEST(RecordStore, KeepsTheFirstOfTheRecordsWithOneKey) {
  RecordStore store;
  add(store, 9, {1});
  add(store, 5, {2});
  add(store, 9, {3, 3});
  add(store, 5, {4});
  add(store, 9, {});
  store.sort();
  EXPECT_EQ(contents(store), (KeyedBytes{{5, {2}}, {9, {1}}}));
}

TEST(RecordStore, HoldsAndSortsWhatAMapDoes) {
  std::mt19937 random(1);
  // All keys, and keys with only some of their bytes different.
  for (const std::uint32_t mask :
       {0xFFFFFFFFU, 0xFFU, 0xFF00U, 0xFF0000U, 0xFF000000U, 0xF0F0U, 3U}) {
    RecordStore store;
    std::map<std::uint32_t, Bytes> expected;
    for (int i = 0; i < 3000; ++i) {
      const auto key = static_cast<std::uint32_t>(random()) & mask;
      const Bytes data(random() % 256,
                       static_cast<unsigned char>(random() & 0xFF));
      add(store, key, data);
      expected.emplace(key, data);
    }
    store.sort();
    EXPECT_EQ(contents(store), KeyedBytes(expected.begin(), expected.end()))
        << mask;
  }
}

TEST(RecordStore, SortsWhatIsInOrderWithoutFurtherMemory) {
  RecordStore ordered;
  RecordStore other;
  for (std::uint32_t key = 0; key < 1000; ++key) {
    add(ordered, key, {1});
    add(other, 1000 - key, {1});
  }
  const AllocationCount count;
  ordered.sort();
  EXPECT_EQ(count.made(), 0);
  other.sort();
  EXPECT_EQ(count.made(), 1);
}

// So many that the list of chunks grows several times.
TEST(RecordStore, LosesNothingWhereverMemoryRunsOut) {
  const std::size_t wanted = 5 * RecordStore::chunkSize / 256;
  const long failures = failEveryAllocation(
      [&] {
        RecordStore store;
        for (std::uint32_t key = 0; key < wanted; ++key) {
          store.next()[254] = 1;
          store.add(key, 255);
        }
        store.add(0, 1);
        store.sort();
        EXPECT_EQ(store.size(), wanted);
      },
      [](long leaked) { EXPECT_EQ(leaked, 0); });
  EXPECT_GT(failures, 10);
}

}  // namespace
