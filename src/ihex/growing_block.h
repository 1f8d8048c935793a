// SPDX-License-Identifier: MIT
//
// The one block that records are being added to.

#ifndef QORUTIL_IHEX_GROWING_BLOCK_H
#define QORUTIL_IHEX_GROWING_BLOCK_H

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ihex/record_key.h"

namespace qorutil_internal {

/// The bytes of one block while it grows, in a buffer that serves for all
/// blocks: a finished block is allocated once, in its size, and filled once.
class GrowingBlock {
 public:
  GrowingBlock();

  /// Tells whether there is no record yet.
  bool empty() const { return !started; }

  /// Where the next record goes if it follows the last one; with room for the
  /// longest record.
  unsigned char* end() { return bytes.get() + size; }

  /// Tells whether a record at `key`, which is above that of the last one, goes
  /// on where that one ended, under the same upper address.
  bool isContinuedBy(std::uint32_t key) const {
    return key == nextKey && key >> 16 == firstKey >> 16 && started;
  }

  /// The key of the last record; there has to be one.
  std::uint32_t getLastKey() const { return lastKey; }

  /// Begins with the record at `key`, whose `count` bytes at `data` may be
  /// anywhere in the buffer.
  void start(std::uint32_t key, const unsigned char* data, std::size_t count);

  /// Takes the `count` bytes at end() as those of the record at `key`.
  void append(std::uint32_t key, std::size_t count) {
    lastKey = key;
    nextKey = key + static_cast<std::uint32_t>(count);
    size += count;
  }

  /// Makes the block; there is no record then. What stands behind end() stays
  /// where it is.
  std::unique_ptr<IntelHexFileBlock> finish();

 private:
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size{0};
  std::uint32_t firstKey{0};
  std::uint32_t lastKey{0};
  std::uint32_t nextKey{0};  // at the edge of 64 KiB under the next upper one
  bool started{false};
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_GROWING_BLOCK_H
