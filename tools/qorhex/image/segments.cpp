// SPDX-License-Identifier: MIT

#include "image/segments.h"

#include <algorithm>

namespace {

// Lays `added` over the end of `stretches`; none of them begins behind its
// beginning. What it does not cover stays.
void layOver(std::vector<stretch_t>& stretches, const stretch_t& added) {
  std::vector<stretch_t> uncovered;
  while (!stretches.empty() && stretches.back().end() > added.address) {
    stretch_t& last = stretches.back();
    if (last.end() > added.end()) {
      const std::uint64_t from = std::max(last.address, added.end());
      uncovered.push_back(
          {from, last.data + (from - last.address), last.end() - from});
    }
    if (last.address < added.address) {
      last.size = added.address - last.address;
      break;
    }
    stretches.pop_back();
  }
  stretches.push_back(added);
  stretches.insert(stretches.end(), uncovered.rbegin(), uncovered.rend());
}

}  // namespace

std::vector<segment_t> joinBlocks(const IntelHexFile& image) {
  std::vector<segment_t> segments;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    IntelHexFileBlock& block = *image[i];
    if (block.data.empty()) {
      continue;
    }
    const stretch_t stretch{
        block.extAddress * std::uint64_t{0x10000} + block.address,
        block.data.data(), block.data.size()};
    if (segments.empty() || segments.back().end() < stretch.address) {
      segments.push_back({stretch.address, stretch.size, {stretch}});
      continue;
    }
    segment_t& segment = segments.back();
    layOver(segment.stretches, stretch);
    segment.size = std::max(segment.end(), stretch.end()) - segment.address;
  }
  return segments;
}

void reverseSegments(std::vector<segment_t>& segments) {
  for (segment_t& segment : segments) {
    std::reverse(segment.stretches.begin(), segment.stretches.end());
    for (const stretch_t& stretch : segment.stretches) {
      std::reverse(stretch.data, stretch.data + stretch.size);
    }
  }
}
