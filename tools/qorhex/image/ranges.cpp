// SPDX-License-Identifier: MIT

#include "image/ranges.h"

#include <algorithm>
#include <utility>

namespace {

// Collects the parts of segments that stay.
class Cropping {
 public:
  // Takes what `segment` has from `first` up to, not including, `end`, which
  // are addresses of it, as one segment. Parts of one segment come in ascending
  // order.
  void take(const segment_t& segment, std::uint64_t first, std::uint64_t end) {
    if (current != &segment) {
      current = &segment;
      next = segment.stretches.begin();
    }
    while (next->end() <= first) {
      ++next;
    }
    segment_t part{first, end - first, {}};
    for (auto at = next; at != segment.stretches.end() && at->address < end;
         ++at) {
      const std::uint64_t from = std::max(at->address, first);
      const std::uint64_t to = std::min(at->end(), end);
      part.stretches.push_back(
          {from, at->data + (from - at->address), to - from});
    }
    taken += part.size;
    parts.push_back(std::move(part));
  }

  std::vector<segment_t> parts;
  std::uint64_t taken{0};

 private:
  const segment_t* current{nullptr};
  std::vector<stretch_t>::const_iterator next;
};

}  // namespace

std::vector<range_t> uniteRanges(std::vector<range_t> ranges) {
  std::sort(
      ranges.begin(), ranges.end(),
      [](const range_t& a, const range_t& b) { return a.first < b.first; });
  std::vector<range_t> united;
  for (const range_t& range : ranges) {
    if (united.empty() || united.back().last + 1 < range.first) {
      united.push_back(range);
    } else {
      united.back().last = std::max(united.back().last, range.last);
    }
  }
  return united;
}

std::uint64_t cropSegments(std::vector<segment_t>& segments,
                           const std::vector<range_t>& ranges) {
  std::uint64_t total = 0;
  Cropping cropping;
  auto range = ranges.begin();
  for (const segment_t& segment : segments) {
    total += segment.size;
    while (range != ranges.end() && range->last < segment.address) {
      ++range;
    }
    // The last range that concerns this segment may concern the next one.
    for (auto at = range; at != ranges.end() && at->first < segment.end();
         ++at) {
      cropping.take(segment, std::max(at->first, segment.address),
                    std::min(at->last + 1, segment.end()));
      range = at;
    }
  }
  segments = std::move(cropping.parts);
  return total - cropping.taken;
}
