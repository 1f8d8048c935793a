// SPDX-License-Identifier: MIT
//
// Records that wait until all are there.

#ifndef QORUTIL_IHEX_RECORD_STORE_H
#define QORUTIL_IHEX_RECORD_STORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ihex/record_key.h"

namespace qorutil_internal {

/// Keeps records in the order of reading until they can be sorted.
class RecordStore {
 public:
  /// Where the data of the next record goes; with room for the longest record.
  unsigned char* next() {
    if (chunkSize - used < 1 + longestData) {
      addChunk();
    }
    return chunks.back().get() + used + 1;
  }

  /// Takes the `count` bytes at next() as those of the record at `key`.
  void add(std::uint32_t key, std::size_t count);

  bool empty() const { return index.empty(); }

  /// Sorts by key and drops records whose key an earlier one has.
  void sort();

  /// The number of records. They are in the order of reading, behind sort() in
  /// that of their keys.
  std::size_t size() const { return index.size(); }

  std::uint32_t key(std::size_t i) const {
    return static_cast<std::uint32_t>(index[i] >> 32);
  }

  std::size_t count(std::size_t i) const { return *at(i); }

  const unsigned char* data(std::size_t i) const { return at(i) + 1; }

  /// Records are kept in pieces of so many bytes, their counts included.
  static constexpr std::size_t chunkSize = std::size_t{1} << 18;

 private:
  void addChunk();

  const unsigned char* at(std::size_t i) const {
    const std::uint64_t place = (index[i] & 0xFFFFFFFF) * unit;
    return chunks[static_cast<std::size_t>(place / chunkSize)].get() +
           place % chunkSize;
  }

  // A record is its count and its data, at a multiple of `unit` bytes in one of
  // the chunks; an entry is the key and, below it, the place in those units.
  static constexpr std::size_t unit = 4;

  std::vector<std::unique_ptr<unsigned char[]>> chunks;
  std::size_t used{chunkSize};
  std::vector<std::uint64_t> index;
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_RECORD_STORE_H
