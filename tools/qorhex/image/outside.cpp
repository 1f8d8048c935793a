// SPDX-License-Identifier: MIT

#include "image/outside.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "image/numbers.h"
#include "reading/number_text.h"

namespace {

// Appends what `range` has outside of `regions` to `target`.
void appendOutside(const range_t& range, const std::vector<region_t>& regions,
                   std::vector<range_t>& target) {
  std::uint64_t first = range.first;
  auto region =
      std::lower_bound(regions.begin(), regions.end(), first,
                       [](const region_t& one, std::uint64_t address) {
                         return one.range.last < address;
                       });
  for (; region != regions.end() && region->range.first <= range.last;
       ++region) {
    if (region->range.first > first) {
      target.push_back({first, region->range.first - 1});
    }
    first = region->range.last + 1;
  }
  if (first <= range.last) {
    target.push_back({first, range.last});
  }
}

// The region with the smallest distance to `address`, which is in none.
const region_t& nearestTo(std::uint64_t address,
                          const std::vector<region_t>& regions) {
  const auto above =
      std::lower_bound(regions.begin(), regions.end(), address,
                       [](const region_t& one, std::uint64_t wanted) {
                         return one.range.first < wanted;
                       });
  if (above == regions.begin()) {
    return *above;
  }
  const auto below = std::prev(above);
  const bool isBelow =
      above == regions.end() ||
      address - below->range.last <= above->range.first - address;
  return isBelow ? *below : *above;
}

}  // namespace

forbidden_t forbidOutside(std::vector<region_t> regions,
                          const std::vector<range_t>& wanted) {
  forbidden_t forbidden{{}, std::move(regions)};
  if (wanted.empty()) {
    appendOutside({0, lastAddress}, forbidden.regions, forbidden.ranges);
  }
  for (const range_t& range : wanted) {
    appendOutside(range, forbidden.regions, forbidden.ranges);
  }
  return forbidden;
}

void Outside::beginFile() {
  ++file;
  isOpen = false;
}

std::vector<outside_t> Outside::sorted() {
  std::stable_sort(
      found.begin(), found.end(),
      [](const outside_t& a, const outside_t& b) { return a.first < b.first; });
  return std::move(found);
}

void Outside::search(const piece_t& piece, const RecordReader& reader) {
  const std::vector<range_t>& ranges = forbidden.ranges;
  auto range = std::lower_bound(ranges.begin(), ranges.end(),
                                std::uint64_t{piece.address},
                                [](const range_t& one, std::uint64_t address) {
                                  return one.last < address;
                                });
  if (range == ranges.end() || range->first >= piece.end()) {
    freeFirst = range == ranges.begin() ? 0 : std::prev(range)->last + 1;
    freeEnd = range == ranges.end() ? lastAddress + 1 : range->first;
    isOpen = false;
    return;
  }
  for (; range != ranges.end() && range->first < piece.end(); ++range) {
    add(piece, reader, std::max<std::uint64_t>(range->first, piece.address),
        std::min(range->last, piece.end() - 1));
  }
}

void Outside::add(const piece_t& piece, const RecordReader& reader,
                  std::uint64_t first, std::uint64_t last) {
  if (!isOpen || first != piece.address || first <= latest) {
    const std::uint64_t column = piece.column + 2 * (first - piece.address);
    found.push_back(
        {first, 0, file, piece.line, column, reader.excerpt(column)});
  }
  found.back().size += last - first + 1;
  isOpen = last + 1 == piece.end();
  latest = last;
}

problem_t outsideProblem(const outside_t& outside, const forbidden_t& forbidden,
                         const std::string& name) {
  const region_t& nearest = nearestTo(outside.first, forbidden.regions);
  return {severity_t::ERROR,
          name,
          outside.line,
          outside.column,
          "data at " + addressText(outside.first) +
              " is outside of all regions, " + countText(outside.size, "byte") +
              " in all; move it or extend the map, whose nearest region is " +
              nearest.name + ", " + addressText(nearest.range.first) + '-' +
              addressText(nearest.range.last),
          outside.excerpt,
          outside.file};
}
