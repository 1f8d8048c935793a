// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "ihex/loader.h"

IntelHexFile::IntelHexFile() = default;

IntelHexFile::IntelHexFile(const IntelHexFile& other) {
  try {
    blocks.reserve(other.blocks.size());
    for (IntelHexFileBlock* const block : other.blocks) {
      blocks.push_back(block->clone());
    }
  } catch (...) {
    clear();
    throw;
  }
}

IntelHexFile::IntelHexFile(IntelHexFile&& other) noexcept
    : blocks(std::exchange(other.blocks, {})) {}

IntelHexFile::IntelHexFile(std::uint16_t extAddress, std::uint16_t address,
                           std::uint64_t size, const unsigned char* data) {
  auto block = std::make_unique<IntelHexFileBlock>();
  if (size > block->data.max_size()) {
    throw std::length_error("IntelHexFile: size beyond what a block can hold");
  }
  block->extAddress = extAddress;
  block->address = address;
  block->size = size;
  if (size != 0) {
    block->data.assign(data, data + static_cast<std::size_t>(size));
  }
  blocks.push_back(block.get());
  static_cast<void>(block.release());
}

IntelHexFile::IntelHexFile(const char* path, bool singleBlock) {
  load(path, singleBlock);
}

IntelHexFile& IntelHexFile::operator=(const IntelHexFile& other) {
  IntelHexFile copy(other);
  blocks.swap(copy.blocks);
  return *this;
}

IntelHexFile& IntelHexFile::operator=(IntelHexFile&& other) noexcept {
  IntelHexFile taken(std::move(other));
  blocks.swap(taken.blocks);
  return *this;
}

IntelHexFile::~IntelHexFile() {
  clear();
}

bool IntelHexFile::load(const char* path, bool singleBlock) {
  qorutil_internal::Loader loader(path, singleBlock);
  if (!loader.load()) {
    return false;
  }
  blocks.reserve(blocks.size() + loader.blocks().size());
  for (std::unique_ptr<IntelHexFileBlock>& block : loader.blocks()) {
    blocks.push_back(block.release());
  }
  return true;
}

IntelHexFileBlock* IntelHexFile::operator[](std::size_t id) const {
  if (id >= blocks.size()) {
    throw "IntelHexFile::operator[](size_t id): id outside of range!";
  }
  return blocks[id];
}

void IntelHexFile::reverseBuffers() const {
  for (IntelHexFileBlock* const block : blocks) {
    block->reverseBuffer();
  }
}

void IntelHexFile::clear() {
  for (IntelHexFileBlock* const block : blocks) {
    delete block;
  }
  blocks.clear();
}

bool IntelHexFile::hasData() const {
  return !blocks.empty();
}

std::size_t IntelHexFile::getBlockCount() const {
  return blocks.size();
}
