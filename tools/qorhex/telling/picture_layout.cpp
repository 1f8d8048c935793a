// SPDX-License-Identifier: MIT

#include "telling/picture_layout.h"

#include <algorithm>
#include <utility>

#include "image/gaps.h"

namespace {

constexpr tenths_t leastHeight = 30;
constexpr tenths_t heightPerBand = 700;
constexpr tenths_t mostHeight = 4800;

// The gaps that separate runs: all; or of too many the longest, and none that
// would be too low to be seen.
std::vector<range_t> drawnGaps(const report_t& report) {
  const std::vector<segmentReport_t>& segments = report.segments;
  std::vector<range_t> gaps;
  for (std::size_t i = 1; i < segments.size(); ++i) {
    gaps.push_back(gapBetween(segments[i - 1].range, segments[i].range));
  }
  const std::uint64_t least =
      segments.size() > mostRuns ? report.size() * leastHeight / mostHeight : 0;
  return longestGaps(std::move(gaps), least, mostRuns - 1);
}

std::vector<run_t> runsOf(const report_t& report) {
  const std::vector<segmentReport_t>& segments = report.segments;
  const std::vector<range_t> gaps = drawnGaps(report);
  std::vector<run_t> runs;
  auto gap = gaps.begin();
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const range_t& range = segments[i].range;
    const bool behindGap = gap != gaps.end() && gap->last < range.first;
    if (runs.empty() || behindGap) {
      runs.push_back({range, 0, i, 0});
      gap += behindGap ? 1 : 0;
    }
    run_t& run = runs.back();
    run.range.last = range.last;
    run.size += range.size();
    ++run.count;
  }
  return runs;
}

// The first addresses of all bands, and the one behind the last.
std::vector<std::uint64_t> cutsOf(const pictureLayout_t& layout,
                                  const report_t& report) {
  std::vector<std::uint64_t> cuts;
  const auto add = [&cuts](const range_t& range) {
    cuts.push_back(range.first);
    cuts.push_back(range.last + 1);
  };
  for (const run_t& run : layout.runs) {
    add(run.range);
  }
  for (std::size_t i = 0; i < layout.regionCount; ++i) {
    add(report.regions[i].region.range);
  }
  std::sort(cuts.begin(), cuts.end());
  cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
  return cuts;
}

// The longest gap that is no break. An image without data has its regions to
// go by.
std::uint64_t longestDrawn(const pictureLayout_t& layout,
                           const report_t& report) {
  std::uint64_t data = 0;
  for (const run_t& run : layout.runs) {
    data += run.size;
  }
  if (data != 0) {
    return data / 2;
  }
  std::uint64_t regions = 0;
  for (std::size_t i = 0; i < layout.regionCount; ++i) {
    regions += report.regions[i].region.range.size();
  }
  return regions;
}

void cutIntoBands(pictureLayout_t& layout, const report_t& report) {
  const std::vector<std::uint64_t> cuts = cutsOf(layout, report);
  const std::uint64_t longest = longestDrawn(layout, report);
  auto run = layout.runs.begin();
  for (std::size_t i = 1; i < cuts.size(); ++i) {
    const range_t range{cuts[i - 1], cuts[i] - 1};
    while (run != layout.runs.end() && run->range.last < range.first) {
      ++run;
    }
    const bool hasData =
        run != layout.runs.end() && run->range.first <= range.first;
    layout.bands.push_back(
        {range, 0, 0, hasData, !hasData && range.size() > longest});
  }
}

// The more there is, the more room it has.
void measureBands(pictureLayout_t& layout) {
  std::uint64_t drawn = 0;
  tenths_t room = heightPerBand;
  for (const band_t& band : layout.bands) {
    if (!band.isBreak) {
      drawn += band.range.size();
      room += heightPerBand;
    }
  }
  room = std::max(std::min(room, mostHeight),
                  static_cast<tenths_t>(layout.regionCount) * regionLabel);
  tenths_t top = 0;
  for (band_t& band : layout.bands) {
    band.top = top;
    band.height = breakHeight;
    if (!band.isBreak) {
      const auto scaled = static_cast<tenths_t>(
          band.range.size() * static_cast<std::uint64_t>(room) / drawn);
      band.height = std::max(scaled, leastHeight);
      layout.hasEnlarged = layout.hasEnlarged || scaled < leastHeight;
    }
    top = band.bottom();
  }
}

}  // namespace

const band_t& pictureLayout_t::firstOf(const range_t& range) const {
  return *std::find_if(
      bands.begin(), bands.end(),
      [&range](const band_t& band) { return band.range.first == range.first; });
}

const band_t& pictureLayout_t::lastOf(const range_t& range) const {
  return *std::find_if(
      bands.begin(), bands.end(),
      [&range](const band_t& band) { return band.range.last == range.last; });
}

bool pictureLayout_t::hasBreaks() const {
  return std::any_of(bands.begin(), bands.end(),
                     [](const band_t& band) { return band.isBreak; });
}

pictureLayout_t layOutPicture(const report_t& report) {
  pictureLayout_t layout;
  layout.runs = runsOf(report);
  layout.regionCount = std::min(report.regions.size(), mostRegions);
  cutIntoBands(layout, report);
  measureBands(layout);
  return layout;
}

std::vector<tenths_t> spreadLabels(const std::vector<label_t>& labels,
                                   tenths_t least) {
  // Labels that would cover each other stand together as a group, around the
  // middle of where its labels would stand best.
  struct group_t {
    tenths_t sum;  // of the places that each label has for the group's top
    tenths_t count;
    tenths_t height;
    tenths_t least;

    tenths_t top() const { return std::max(sum / count, least); }

    tenths_t bottom() const { return top() + height; }
  };

  std::vector<group_t> groups;
  for (const label_t& label : labels) {
    groups.push_back({label.top, 1, label.height, least});
    while (groups.size() > 1 &&
           (groups.end() - 2)->bottom() > groups.back().top()) {
      const group_t below = groups.back();
      groups.pop_back();
      group_t& group = groups.back();
      group.sum += below.sum - below.count * group.height;
      group.count += below.count;
      group.height += below.height;
    }
  }
  std::vector<tenths_t> tops;
  for (const group_t& group : groups) {
    tenths_t top = group.top();
    for (tenths_t i = 0; i < group.count; ++i) {
      tops.push_back(top);
      top += labels[tops.size() - 1].height;
    }
  }
  return tops;
}
