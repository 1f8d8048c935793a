// SPDX-License-Identifier: MIT
//
// The table of the segments.

#ifndef QORHEX_TABLE_H
#define QORHEX_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "image/segments.h"

/// The table of segments: a heading, a line for each, the total; sizes in
/// bytes, and once more in a readable unit. Without segments there is the total
/// only.
///
/// The segments come twice, so that nobody has to hold them: first to be
/// measured, all of them, then for their rows.
class Table {
 public:
  /// Takes note of `segment` and what room it needs.
  void measure(const segment_t& segment);

  /// Returns the heading; all segments are measured by now.
  std::string heading();

  /// Appends the line of `segment`, the next one, to `text`.
  void appendRow(std::string& text, const segment_t& segment);

  /// Returns the line of the total.
  std::string total() const;

 private:
  std::uint64_t count{0};
  std::uint64_t bytes{0};
  std::uint64_t row{0};
  std::size_t sizeWidth{0};
  std::size_t readableWidth{0};
};

/// Writes the table of `segments` to standard output.
void listSegments(const SegmentWalk& segments);

#endif  // QORHEX_TABLE_H
