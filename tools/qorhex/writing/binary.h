// SPDX-License-Identifier: MIT
//
// Image bytes as a raw binary file.

#ifndef QORHEX_BINARY_H
#define QORHEX_BINARY_H

#include <cstdint>
#include <functional>
#include <vector>

#include "image/segments.h"
#include "writing/output.h"

/// Addresses up to, not including, `end`.
struct span_t {
  /// The first address.
  std::uint64_t first;
  /// The address behind the last one.
  std::uint64_t end;

  /// The number of addresses.
  std::uint64_t size() const { return end - first; }
};

/// Takes note of so many more bytes written.
using ByteObserver = std::function<void(std::uint64_t count)>;

/// Appends the bytes of `segment` to `out`.
void writeSegment(OutputFile& out, const segment_t& segment,
                  const ByteObserver& observer);

/// Appends a byte for every address of `span` to `out`: those of `segments`,
/// which ascend and lie inside it, and `fill` for the others.
void writeSpan(OutputFile& out, const std::vector<segment_t>& segments,
               const span_t& span, unsigned char fill,
               const ByteObserver& observer);

#endif  // QORHEX_BINARY_H
