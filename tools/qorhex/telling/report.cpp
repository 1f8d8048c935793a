// SPDX-License-Identifier: MIT

#include "telling/report.h"

#include <algorithm>
#include <utility>

#include "image/crc32.h"
#include "telling/problems.h"

namespace {

sourceLine_t sourceOf(const Sources& sources, std::uint64_t address) {
  const place_t place = sources.of(static_cast<std::uint32_t>(address));
  return {place.file, place.line};
}

std::uint32_t crc32Of(const segment_t& segment) {
  Crc32 checksum;
  for (const stretch_t& stretch : segment.stretches) {
    checksum.add(stretch.data, static_cast<std::size_t>(stretch.size));
  }
  return checksum.value();
}

// A million of them would otherwise be moved about, and need twice the room.
std::size_t countSegments(SegmentWalk segments) {
  std::size_t count = 0;
  for (segment_t segment{}; segments.next(segment);) {
    ++count;
  }
  return count;
}

std::vector<regionReport_t> inOrder(const std::vector<region_t>& map) {
  std::vector<regionReport_t> regions;
  regions.reserve(map.size());
  for (const region_t& region : map) {
    regions.push_back({region, 0});
  }
  std::sort(regions.begin(), regions.end(),
            [](const regionReport_t& one, const regionReport_t& other) {
              return one.region.range.first < other.region.range.first;
            });
  return regions;
}

// Enters a segment into the regions that it has bytes in. Both ascend: the
// regions before `next` end below the segment.
void enterIntoRegions(segmentReport_t& segment,
                      std::vector<regionReport_t>& regions, std::size_t& next) {
  const range_t& data = segment.range;
  while (next != regions.size() &&
         regions[next].region.range.last < data.first) {
    ++next;
  }
  for (std::size_t i = next; i != regions.size(); ++i) {
    const range_t& range = regions[i].region.range;
    if (range.first > data.last) {
      break;
    }
    regions[i].used +=
        std::min(range.last, data.last) - std::max(range.first, data.first) + 1;
    segment.regions.push_back(i);
  }
}

}  // namespace

std::uint64_t report_t::size() const {
  std::uint64_t bytes = 0;
  for (const segmentReport_t& segment : segments) {
    bytes += segment.range.size();
  }
  return bytes;
}

void describeImage(report_t& report, SegmentWalk segments,
                   const Sources* sources, const std::vector<region_t>& map,
                   const std::vector<startAddress_t>& startAddresses) {
  report.regions = inOrder(map);
  report.startAddresses = startAddresses;
  report.segments.clear();
  report.segments.reserve(countSegments(segments));
  std::size_t nextRegion = 0;
  for (segment_t segment{}; segments.next(segment);) {
    segmentReport_t entry{
        {segment.address, segment.end() - 1}, crc32Of(segment), {}, {}};
    if (sources != nullptr) {
      entry.source = {sourceOf(*sources, entry.range.first),
                      sourceOf(*sources, entry.range.last)};
    }
    enterIntoRegions(entry, report.regions, nextRegion);
    report.segments.push_back(std::move(entry));
  }
}

void noteFailure(report_t& report, const std::string& text,
                 exitStatus_t status) {
  report.problems.push_back(failureProblem(report.names.front(), text, 0));
  report.status = std::max(report.status, status);
}
