// SPDX-License-Identifier: MIT

#include "image/block_maker.h"

#include <cstring>
#include <utility>

BlockMaker::BlockMaker(IntelHexFile& target)
    : image(target), bytes(new unsigned char[edge + 2 * recordRoom]) {
  record.emplace();
}

void BlockMaker::finish() {
  if (size != 0) {
    makeBlock(size);
  }
  size = 0;
}

void BlockMaker::restart() {
  start = 0;
  size = 0;
}

// Begins a run with the `count` bytes at room().
void BlockMaker::begin(std::uint32_t address, std::size_t count) {
  const unsigned char* const data = room();
  finish();
  std::memmove(bytes.get(), data, count);
  start = address;
  room64K = edge - address % edge;
}

// Makes a block of what lies before the edge.
void BlockMaker::cut() {
  const std::size_t head = room64K;
  makeBlock(head);
  size -= head;
  std::memmove(bytes.get(), bytes.get() + head, size);
  start += head;
  room64K = edge;
}

// The block is that of a record of its own, which a set of its own holds: the
// set's node is used again.
void BlockMaker::makeBlock(std::size_t count) {
  auto node = record.extract(record.begin());
  IntelHexFile::hexfileline_t& line = node.value();
  line.extAddress = static_cast<std::uint16_t>(start >> 16U);
  line.address = static_cast<std::uint16_t>(start);
  line.count = count;
  line.data.assign(bytes.get(), bytes.get() + count);
  record.insert(std::move(node));
  image.createNewBlock(record.begin(), record.end());
}
