// SPDX-License-Identifier: MIT

#include "ihex/growing_block.h"

#include <cstring>

namespace qorutil_internal {

namespace {

// A block of records that follow each other under one upper address ends at
// most this far behind its beginning.
constexpr std::size_t longestBlock = 0xFFFF + longestData;

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

}  // namespace qorutil_internal
