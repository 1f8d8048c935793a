// SPDX-License-Identifier: MIT
//
// All that is told about an image, as data: the long table, the JSON document
// and the picture are made of it.

#ifndef QORHEX_REPORT_H
#define QORHEX_REPORT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/numbers.h"
#include "image/regions.h"
#include "image/segments.h"
#include "image/sources.h"
#include "reading/failure.h"
#include "reading/problem.h"
#include "reading/record_reader.h"

/// A line of one of the FILEs of an image.
struct sourceLine_t {
  /// Which FILE, from 0, in the order of the command line.
  std::size_t file;
  /// The line, from 1.
  std::uint64_t line;
};

/// A segment.
struct segmentReport_t {
  /// Its addresses.
  range_t range;
  /// The CRC-32 of its bytes, as zlib has it.
  std::uint32_t crc32;
  /// The lines of its first and of its last byte, where they are known.
  std::optional<std::array<sourceLine_t, 2>> source;
  /// The regions that it has bytes in, by their places in the map.
  std::vector<std::size_t> regions;
};

/// A region and its use.
struct regionReport_t {
  /// The region.
  region_t region;
  /// The number of its bytes that the image has.
  std::uint64_t used;
};

/// What is told about an image.
struct report_t {
  /// The names of its FILEs as they were given, "<stdin>" for "-"; several when
  /// they were merged.
  std::vector<std::string> names;
  /// Whether the FILEs were merged, be it one alone.
  bool isMerged{false};
  /// The exit status that these FILEs alone would give.
  exitStatus_t status{ALL_WELL};
  /// The segments, in ascending order.
  std::vector<segmentReport_t> segments;
  /// The regions of the map, in ascending order.
  std::vector<regionReport_t> regions;
  /// The start addresses.
  std::vector<startAddress_t> startAddresses;
  /// The problems, in the order in which they are told.
  std::vector<problem_t> problems;

  /// Tells whether the lines of the segments are known; false without a
  /// segment.
  bool hasSources() const {
    return !segments.empty() && segments.front().source.has_value();
  }

  /// The number of bytes in all segments.
  std::uint64_t size() const;
};

/// Describes the image of `segments`, as they are now, in `report`: all but
/// names, status and problems. `sources` knows the bytes, where it is given;
/// `map` is in any order.
void describeImage(report_t& report, SegmentWalk segments,
                   const Sources* sources, const std::vector<region_t>& map,
                   const std::vector<startAddress_t>& startAddresses);

/// Adds to `report` what ended the work on its first FILE, with the `status`
/// for it. `text` may begin with the name of that FILE, as messages do.
void noteFailure(report_t& report, const std::string& text,
                 exitStatus_t status);

#endif  // QORHEX_REPORT_H
