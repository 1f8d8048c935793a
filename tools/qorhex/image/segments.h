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
  /// The bytes, in ascending order.
  std::vector<stretch_t> stretches;

  /// The address behind the last byte.
  std::uint64_t end() const { return address + size; }
};

/// Walks over the segments of an image one at a time: an image can have more of
/// them than one wants to hold at once. A copy goes on from the same place.
class SegmentWalk {
 public:
  /// Begins at the first segment of `image`, whose blocks ascend and do not
  /// overlap.
  explicit SegmentWalk(const IntelHexFile& image) : blocks(&image) {}

  /// Begins at the first of `segments`.
  explicit SegmentWalk(const std::vector<segment_t>& segments)
      : held(&segments) {}

  /// Takes the next segment to `segment`; false behind the last one. It refers
  /// to the bytes of the image's blocks.
  bool next(segment_t& segment);

 private:
  const IntelHexFile* blocks{nullptr};
  const std::vector<segment_t>* held{nullptr};
  std::size_t index{0};
};

/// Returns all segments of `image`.
std::vector<segment_t> joinBlocks(const IntelHexFile& image);

/// Reverses the bytes of each of `segments` as one sequence, where they are.
void reverseSegments(SegmentWalk segments);

#endif  // QORHEX_SEGMENTS_H
