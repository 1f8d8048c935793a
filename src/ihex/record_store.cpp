// SPDX-License-Identifier: MIT

#include "ihex/record_store.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace qorutil_internal {

namespace {

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

void RecordStore::addChunk() {
  // Owned before the vector may fail to grow.
  std::unique_ptr<unsigned char[]> chunk(new unsigned char[chunkSize]);
  chunks.push_back(std::move(chunk));
  used = 0;
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

}  // namespace qorutil_internal
