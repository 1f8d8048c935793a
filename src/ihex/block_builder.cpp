// SPDX-License-Identifier: MIT

#include "ihex/block_builder.h"

#include <algorithm>
#include <utility>

namespace qorutil_internal {

BlockBuilder::BlockBuilder(bool singleBlock)
    : single(singleBlock), storing(singleBlock) {}

// Takes a record that does not simply go on where the last one ended.
void BlockBuilder::addElsewhere(std::uint32_t key, std::size_t count) {
  if (single && !store.empty() && store.key(0) >> 16 != key >> 16) {
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
  if (growing.isContinuedBy(key)) {
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
    const std::uint32_t start = recordKey(block->extAddress, block->address);
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
