// SPDX-License-Identifier: MIT
//
// Cuts data records into blocks while they are read.

#ifndef QORUTIL_IHEX_BLOCK_BUILDER_H
#define QORUTIL_IHEX_BLOCK_BUILDER_H

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qorutil_internal {

/// The bytes of one block while it grows, in a buffer that serves for all
/// blocks: a finished block is allocated once, in its size, and filled once.
class GrowingBlock {
 public:
  GrowingBlock();

  /// Where the next record goes if it follows the last one; with room for the
  /// longest record.
  unsigned char* end() { return bytes.get() + size; }

  bool empty() const { return !started; }

  /// Tells whether a record at `key` goes on where the last one ended, under
  /// the same upper address.
  bool isContinuedBy(std::uint32_t key) const {
    return key == ((lastKey & 0xFFFF0000) | ((lastKey + lastCount) & 0xFFFF));
  }

  std::uint32_t getLastKey() const { return lastKey; }

  /// Begins with the record at `key`, whose `count` bytes at `data` may be
  /// anywhere in the buffer.
  void start(std::uint32_t key, const unsigned char* data, std::size_t count);

  /// Takes the `count` bytes at end() as those of the record at `key`.
  void append(std::uint32_t key, std::size_t count) {
    lastKey = key;
    lastCount = static_cast<std::uint32_t>(count);
    size += count;
  }

  /// Makes the block; what was collected is gone then.
  std::unique_ptr<IntelHexFileBlock> finish();

 private:
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size{0};
  std::uint32_t firstKey{0};
  std::uint32_t lastKey{0};
  std::uint32_t lastCount{0};
  bool started{false};
};

/// Keeps records in the order of reading until they can be sorted.
class RecordStore {
 public:
  /// Where the data of the next record goes; with room for the longest record.
  unsigned char* next();

  /// Takes the `count` bytes at next() as those of the record at `key`.
  void add(std::uint32_t key, std::size_t count);

  bool empty() const { return index.empty(); }

  /// Sorts by key and drops records whose key an earlier one has.
  void sort();

  std::size_t size() const { return index.size(); }

  std::uint32_t key(std::size_t i) const {
    return static_cast<std::uint32_t>(index[i] >> 32);
  }

  std::size_t count(std::size_t i) const { return *at(i); }

  const unsigned char* data(std::size_t i) const { return at(i) + 1; }

 private:
  const unsigned char* at(std::size_t i) const;

  // A record is its count and its data, at a multiple of `unit` bytes in one of
  // the chunks; an entry is the key and, below it, the place in those units.
  static constexpr std::size_t unit = 4;
  static constexpr std::size_t chunkSize = std::size_t{1} << 18;

  std::vector<std::unique_ptr<unsigned char[]>> chunks;
  std::size_t used{chunkSize};
  std::vector<std::uint64_t> index;
};

/// Takes data records in the order of the file and makes the blocks of an
/// image.
///
/// Records with data that ascend go straight into blocks. From the first other
/// one on, all are kept, sorted at the end and then cut: as an ordered set that
/// keeps the first of two records with one address would have it.
class BlockBuilder {
 public:
  explicit BlockBuilder(bool singleBlock);

  /// Where the data of the next record goes, before add() takes it.
  unsigned char* next() { return storing ? store.next() : growing.end(); }

  /// Takes the `count` bytes at next() as those of the record at this address.
  void add(std::uint16_t extAddress, std::uint16_t address, std::size_t count);

  /// Makes the remaining blocks; false where the records do not fit into the
  /// single block asked for.
  bool finish();

  /// The blocks, in ascending order; complete after finish().
  std::vector<std::unique_ptr<IntelHexFileBlock>>& blocks() { return finished; }

 private:
  void cut(std::uint32_t key, std::size_t count);
  void storeBlocks();
  void cutStored();
  bool makeSingle();

  bool single;
  bool storing;
  bool fits{true};
  GrowingBlock growing;
  RecordStore store;
  std::vector<std::unique_ptr<IntelHexFileBlock>> finished;
  // The byte counts of the records in `finished` and `growing`, in order.
  std::vector<std::uint8_t> counts;
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_BLOCK_BUILDER_H
