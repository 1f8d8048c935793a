// SPDX-License-Identifier: MIT
//
// The segments of an image: runs of bytes without a gap, over the edges of the
// library's blocks.

#ifndef QORHEX_SEGMENTS_H
#define QORHEX_SEGMENTS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <qorutil/intelhex.h>

/// Bytes of a segment that lie together in one block, which owns them.
struct stretch_t {
  /// The address of the first byte in the image.
  std::uint64_t address;
  /// The bytes.
  unsigned char* data;
  /// The number of bytes.
  std::uint64_t size;

  /// The address behind the last byte.
  std::uint64_t end() const { return address + size; }
};

/// A run of image bytes without a gap.
struct segment_t {
  /// The address of the first byte.
  std::uint64_t address;
  /// The number of bytes.
  std::uint64_t size;
  /// The bytes, in the order in which they are written.
  std::vector<stretch_t> stretches;

  /// The address behind the last byte.
  std::uint64_t end() const { return address + size; }
};

/// Returns the segments of `image`, in ascending order. They refer to the bytes
/// of its blocks. Where blocks overlap, the later one counts.
std::vector<segment_t> joinBlocks(const IntelHexFile& image);

/// Reverses the bytes of each segment as one sequence, in the image's blocks.
void reverseSegments(std::vector<segment_t>& segments);

#endif  // QORHEX_SEGMENTS_H
