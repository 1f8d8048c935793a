// SPDX-License-Identifier: MIT

#include "ihex/block_builder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

namespace qorutil_internal {

namespace {

constexpr std::size_t longestData = 255;

// A block of records that follow each other under one upper address ends at
// most this far behind its beginning.
constexpr std::size_t longestBlock = 0xFFFF + longestData;

// Sorts by the upper halves, entries with equal ones staying in their order:
// byte by byte from the lowest (LSD radix sort), leaving out the bytes that are
// the same in all.
void sortByUpperHalf(std::vector<std::uint64_t>& entries) {
  std::vector<std::uint64_t> sorted(entries.size());
  for (unsigned shift = 32; shift < 64; shift += 8) {
    std::array<std::size_t, 256> places{};
    for (const std::uint64_t entry : entries) {
      ++places[(entry >> shift) & 0xFF];
    }
    if (places[(entries[0] >> shift) & 0xFF] == entries.size()) {
      continue;
    }
    std::size_t place = 0;
    for (std::size_t& count : places) {
      place += std::exchange(count, place);
    }
    for (const std::uint64_t entry : entries) {
      sorted[places[(entry >> shift) & 0xFF]++] = entry;
    }
    entries.swap(sorted);
  }
}

}  // namespace

GrowingBlock::GrowingBlock()
    : bytes(new unsigned char[longestBlock + longestData]) {}

void GrowingBlock::start(std::uint32_t key, const unsigned char* data,
                         std::size_t count) {
  std::memmove(bytes.get(), data, count);
  size = 0;
  firstKey = key;
  started = true;
  append(key, count);
}

std::unique_ptr<IntelHexFileBlock> GrowingBlock::finish() {
  auto block = std::make_unique<IntelHexFileBlock>();
  block->extAddress = static_cast<std::uint16_t>(firstKey >> 16);
  block->address = static_cast<std::uint16_t>(firstKey);
  block->size = size;
  block->data.assign(bytes.get(), bytes.get() + size);
  size = 0;
  started = false;
  return block;
}

unsigned char* RecordStore::next() {
  if (chunkSize - used < 1 + longestData) {
    // Owned before the vector may fail to grow.
    std::unique_ptr<unsigned char[]> chunk(new unsigned char[chunkSize]);
    chunks.push_back(std::move(chunk));
    used = 0;
  }
  return chunks.back().get() + used + 1;
}

void RecordStore::add(std::uint32_t key, std::size_t count) {
  next()[-1] = static_cast<unsigned char>(count);
  const std::uint64_t place =
      ((chunks.size() - 1) * std::uint64_t{chunkSize} + used) / unit;
  if (place > 0xFFFFFFFF) {
    throw std::bad_alloc();  // beyond 16 GiB of records
  }
  index.push_back(std::uint64_t{key} << 32 | place);
  used += (1 + count + unit - 1) / unit * unit;
}

void RecordStore::sort() {
  if (!std::is_sorted(index.begin(), index.end())) {
    sortByUpperHalf(index);
  }
  index.erase(std::unique(index.begin(), index.end(),
                          [](std::uint64_t a, std::uint64_t b) {
                            return a >> 32 == b >> 32;
                          }),
              index.end());
}

const unsigned char* RecordStore::at(std::size_t i) const {
  const std::uint64_t place = (index[i] & 0xFFFFFFFF) * unit;
  return chunks[static_cast<std::size_t>(place / chunkSize)].get() +
         place % chunkSize;
}

BlockBuilder::BlockBuilder(bool singleBlock)
    : single(singleBlock), storing(singleBlock) {}

void BlockBuilder::add(std::uint16_t extAddress, std::uint16_t address,
                       std::size_t count) {
  const std::uint32_t key = std::uint32_t{extAddress} << 16 | address;
  if (single && !store.empty() && store.key(0) >> 16 != extAddress) {
    fits = false;  // whatever else comes
  }
  if (!fits) {
    return;
  }
  if (storing) {
    store.add(key, count);
    return;
  }
  const bool ascends = growing.empty() || key > growing.getLastKey();
  if (ascends && count != 0) {
    cut(key, count);
    counts.push_back(static_cast<std::uint8_t>(count));
    return;
  }
  if (!ascends && key == growing.getLastKey()) {
    return;
  }
  // Out of order, or without data, which storeBlocks() would lose track of.
  const unsigned char* const data = growing.end();
  storeBlocks();
  std::copy_n(data, count, store.next());
  store.add(key, count);
}

// Takes the record at growing.end(), whose key is above all before it.
void BlockBuilder::cut(std::uint32_t key, std::size_t count) {
  if (!growing.empty() && growing.isContinuedBy(key)) {
    growing.append(key, count);
    return;
  }
  const unsigned char* const data = growing.end();
  if (!growing.empty()) {
    finished.push_back(growing.finish());
  }
  growing.start(key, data, count);
}

// Takes the blocks made so far apart again, into their records.
void BlockBuilder::storeBlocks() {
  if (!growing.empty()) {
    finished.push_back(growing.finish());
  }
  std::size_t record = 0;
  for (std::unique_ptr<IntelHexFileBlock>& block : finished) {
    const std::uint32_t start =
        std::uint32_t{block->extAddress} << 16 | block->address;
    std::uint32_t offset = 0;
    while (offset < block->size) {
      const std::uint8_t count = counts[record++];
      std::copy_n(block->data.data() + offset, count, store.next());
      store.add(start + offset, count);
      offset += count;
    }
    block.reset();
  }
  finished.clear();
  counts = {};
  storing = true;
}

bool BlockBuilder::finish() {
  if (!fits) {
    return false;
  }
  if (storing && !store.empty()) {
    store.sort();
    if (single) {
      return makeSingle();
    }
    cutStored();
  }
  if (!growing.empty()) {
    finished.push_back(growing.finish());
  }
  return true;
}

void BlockBuilder::cutStored() {
  // Sorted records lie anywhere in memory; so many are on their way at a time.
  constexpr std::size_t onTheirWay = 16;
  for (std::size_t i = 0; i < store.size(); ++i) {
    if (i + onTheirWay < store.size()) {
      __builtin_prefetch(store.data(i + onTheirWay));
    }
    std::copy_n(store.data(i), store.count(i), growing.end());
    cut(store.key(i), store.count(i));
  }
}

bool BlockBuilder::makeSingle() {
  const std::size_t last = store.size() - 1;
  const std::uint32_t start = store.key(0);
  const std::size_t size = store.key(last) - start + store.count(last);
  for (std::size_t i = 0; i < last; ++i) {
    if (store.key(i) - start + store.count(i) > size) {
      return false;
    }
  }
  auto block = std::make_unique<IntelHexFileBlock>();
  block->extAddress = static_cast<std::uint16_t>(start >> 16);
  block->address = static_cast<std::uint16_t>(start);
  block->size = size;
  block->data.assign(size, 0xFF);
  for (std::size_t i = 0; i <= last; ++i) {
    std::copy_n(store.data(i), store.count(i),
                block->data.data() + (store.key(i) - start));
  }
  finished.push_back(std::move(block));
  return true;
}

}  // namespace qorutil_internal
