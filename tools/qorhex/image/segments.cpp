// SPDX-License-Identifier: MIT

#include "image/segments.h"

#include <algorithm>
#include <iterator>

namespace {

// Swaps the bytes from both ends of `stretches` until the ends meet.
void reverseBytes(const std::vector<stretch_t>& stretches) {
  auto front = stretches.begin();
  auto back = stretches.end() - 1;
  std::uint64_t frontUsed = 0;
  std::uint64_t backLeft = back->size;
  while (front != back) {
    const std::uint64_t count = std::min(front->size - frontUsed, backLeft);
    std::swap_ranges(front->data + frontUsed, front->data + frontUsed + count,
                     std::make_reverse_iterator(back->data + backLeft));
    frontUsed += count;
    backLeft -= count;
    if (backLeft == 0) {
      --back;
      backLeft = back->size;
    } else {
      ++front;
      frontUsed = 0;
    }
  }
  if (frontUsed < backLeft) {
    std::reverse(front->data + frontUsed, front->data + backLeft);
  }
}

}  // namespace

bool SegmentWalk::next(segment_t& segment) {
  if (held != nullptr) {
    if (index == held->size()) {
      return false;
    }
    segment = (*held)[index++];
    return true;
  }
  segment.stretches.clear();
  segment.size = 0;
  for (; index < blocks->getBlockCount(); ++index) {
    IntelHexFileBlock& part = *(*blocks)[index];
    if (part.data.empty()) {
      continue;
    }
    const std::uint64_t address =
        part.extAddress * std::uint64_t{0x10000} + part.address;
    if (segment.stretches.empty()) {
      segment.address = address;
    } else if (segment.end() != address) {
      break;
    }
    segment.stretches.push_back({address, part.data.data(), part.data.size()});
    segment.size += part.data.size();
  }
  return !segment.stretches.empty();
}

std::vector<segment_t> joinBlocks(const IntelHexFile& image) {
  std::vector<segment_t> segments;
  SegmentWalk walk(image);
  for (segment_t segment{}; walk.next(segment);) {
    segments.push_back(segment);
  }
  return segments;
}

void reverseSegments(SegmentWalk segments) {
  for (segment_t segment{}; segments.next(segment);) {
    reverseBytes(segment.stretches);
  }
}
