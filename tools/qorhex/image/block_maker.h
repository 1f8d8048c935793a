// SPDX-License-Identifier: MIT
//
// From bytes in ascending order to the blocks of an image.

#ifndef QORHEX_BLOCK_MAKER_H
#define QORHEX_BLOCK_MAKER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

#include <qorutil/intelhex.h>

#include "reading/record.h"

/// Collects bytes into runs and makes a block of each run, which ends at a gap
/// and at every multiple of 64 KiB.
class BlockMaker {
 public:
  /// Makes the blocks in `target`.
  explicit BlockMaker(IntelHexFile& target);

  /// Returns where the next bytes are to be put; `recordRoom` of them have
  /// room.
  unsigned char* room() { return bytes.get() + size; }

  /// Takes the `count` bytes at room(), at most `maxRecordData`, for `address`,
  /// which is not below end().
  void add(std::uint32_t address, std::size_t count) {
    if (address != end() || size == 0) {
      begin(address, count);
    }
    size += count;
    if (size >= room64K) {
      cut();
    }
  }

  /// Makes the last block.
  void finish();

  /// Begins anew, with nothing.
  void restart();

  /// Returns the address behind the last byte, 0 without one.
  std::uint64_t end() const { return start + size; }

 private:
  static constexpr std::size_t edge = 0x10000;

  void begin(std::uint32_t address, std::size_t count);
  void cut();
  void makeBlock(std::size_t count);

  IntelHexFile& image;
  std::unique_ptr<unsigned char[]> bytes;
  std::uint64_t start{0};
  std::size_t size{0};
  std::size_t room64K{edge};  // from the start to the next multiple
  std::set<IntelHexFile::hexfileline_t> record;
};

#endif  // QORHEX_BLOCK_MAKER_H
