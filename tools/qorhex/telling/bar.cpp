// SPDX-License-Identifier: MIT

#include "telling/bar.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "image/gaps.h"

namespace {

constexpr char shortGap[] = "/ /";
constexpr std::size_t shortGapWidth = sizeof shortGap - 1;

// Addresses without a short gap, and their cells.
struct part_t {
  range_t range;
  std::size_t cells;

  std::uint64_t perCell() const { return range.size() / cells; }
};

range_t addressesOf(const report_t& report) {
  range_t all{lastAddress, 0};
  const auto include = [&all](const range_t& first, const range_t& last) {
    all.first = std::min(all.first, first.first);
    all.last = std::max(all.last, last.last);
  };
  if (!report.segments.empty()) {
    include(report.segments.front().range, report.segments.back().range);
  }
  if (!report.regions.empty()) {
    include(report.regions.front().region.range,
            report.regions.back().region.range);
  }
  return all;
}

// The gaps that are long enough to be drawn short, in ascending order. There
// can be a million others.
class LongGaps {
 public:
  explicit LongGaps(const report_t& described)
      : report(described), data(described.size()) {
    const std::vector<segmentReport_t>& segments = report.segments;
    const std::uint64_t first =
        segments.empty() ? lastAddress : segments.front().range.first;
    const std::uint64_t last =
        segments.empty() ? first : segments.back().range.last;
    addHoles({0, first});
    for (std::size_t i = 1; i < segments.size(); ++i) {
      add(gapBetween(segments[i - 1].range, segments[i].range));
    }
    addHoles({last, lastAddress});
  }

  std::vector<range_t> take(std::size_t most) {
    return longestGaps(std::move(gaps), data, most);
  }

 private:
  void add(const range_t& gap) {
    if (gap.size() > data) {
      gaps.push_back(gap);
    }
  }

  // Adds what lies between regions inside `part`.
  void addHoles(const range_t& part) {
    for (std::size_t i = 1; i < report.regions.size(); ++i) {
      const range_t& before = report.regions[i - 1].region.range;
      const range_t& after = report.regions[i].region.range;
      if (before.last + 1 != after.first && before.last >= part.first &&
          after.first <= part.last) {
        add(gapBetween(before, after));
      }
    }
  }

  const report_t& report;
  std::uint64_t data;
  std::vector<range_t> gaps;
};

// Shares `cells` out in proportion to the addresses, one at least for each.
void share(std::vector<part_t>& parts, std::size_t cells) {
  std::uint64_t addresses = 0;
  for (const part_t& part : parts) {
    addresses += part.range.size();
  }
  if (addresses == 0) {
    return;  // never: a range has an address
  }
  std::size_t shared = 0;
  for (part_t& part : parts) {
    part.cells = std::max<std::size_t>(
        1, static_cast<std::size_t>(part.range.size() * cells / addresses));
    shared += part.cells;
  }
  const auto isDenser = [](const part_t& one, const part_t& other) {
    return one.perCell() < other.perCell();
  };
  for (; shared < cells; ++shared) {
    ++std::max_element(parts.begin(), parts.end(), isDenser)->cells;
  }
  for (; shared > cells; --shared) {
    --std::max_element(parts.begin(), parts.end(),
                       [](const part_t& one, const part_t& other) {
                         return one.cells < other.cells;
                       })
          ->cells;
  }
}

std::vector<part_t> partsOf(const report_t& report, const range_t& all,
                            std::size_t width) {
  // Each short gap comes with a cell of the part behind it.
  const std::size_t most = (width - 1) / (shortGapWidth + 1);
  std::vector<part_t> parts{{all, 0}};
  for (const range_t& gap : LongGaps(report).take(most)) {
    parts.back().range.last = gap.first - 1;
    parts.push_back({{gap.last + 1, all.last}, 0});
  }
  share(parts, width - (parts.size() - 1) * shortGapWidth);
  return parts;
}

// The segments are whole runs: what one of them does not cover alone is not
// covered.
char cellOf(const std::vector<segmentReport_t>& segments,
            const range_t& addresses) {
  const auto segment = std::lower_bound(
      segments.begin(), segments.end(), addresses.first,
      [](const segmentReport_t& candidate, std::uint64_t first) {
        return candidate.range.last < first;
      });
  if (segment == segments.end() || segment->range.first > addresses.last) {
    return '.';
  }
  const bool full = segment->range.first <= addresses.first &&
                    segment->range.last >= addresses.last;
  return full ? '#' : '+';
}

// With more cells than addresses several cells show one address.
void appendCells(std::string& bar, const part_t& part,
                 const std::vector<segmentReport_t>& segments) {
  const std::uint64_t size = part.range.size();
  for (std::uint64_t i = 0; i < part.cells; ++i) {
    const std::uint64_t first = i * size / part.cells;
    const std::uint64_t end = ((i + 1) * size + part.cells - 1) / part.cells;
    bar += cellOf(segments,
                  {part.range.first + first, part.range.first + end - 1});
  }
}

}  // namespace

std::string barOf(const report_t& report, std::size_t width) {
  if (width == 0 || (report.segments.empty() && report.regions.empty())) {
    return {};
  }
  const range_t all = addressesOf(report);
  std::string bar;
  for (const part_t& part : partsOf(report, all, width)) {
    bar += bar.empty() ? "" : shortGap;
    appendCells(bar, part, report.segments);
  }
  return bar;
}
