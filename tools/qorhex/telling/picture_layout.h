// SPDX-License-Identifier: MIT
//
// What the picture of an image shows, and where.

#ifndef QORHEX_PICTURE_LAYOUT_H
#define QORHEX_PICTURE_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/numbers.h"
#include "telling/report.h"

/// Heights and places in tenths of a pixel: whole numbers, so that a picture is
/// the same wherever it is made.
using tenths_t = std::int64_t;

/// The most runs that are drawn.
constexpr std::size_t mostRuns = 40;

/// The most regions that are drawn.
constexpr std::size_t mostRegions = 40;

/// The height of what stands beside a region.
constexpr tenths_t regionLabel = 600;

/// The height of a break, which stands for a long gap.
constexpr tenths_t breakHeight = 440;

/// Segments drawn as one: mostly a single one, else several whose gaps are not
/// drawn.
struct run_t {
  /// From the first address to the last.
  range_t range;
  /// The number of bytes of data.
  std::uint64_t size;
  /// The first segment.
  std::size_t segment;
  /// The number of segments.
  std::size_t count;
};

/// A part of the picture, of its whole width: the data of a run, or a gap.
struct band_t {
  /// Its addresses.
  range_t range;
  /// Where it begins.
  tenths_t top;
  /// Its height.
  tenths_t height;
  /// Whether it has data.
  bool hasData;
  /// Whether it is a long gap, whose height means nothing.
  bool isBreak;

  /// Where it ends.
  tenths_t bottom() const { return top + height; }
};

/// The parts of a picture.
struct pictureLayout_t {
  /// The runs, in ascending order. Where there are too many segments, only the
  /// longest gaps are drawn: of gaps of one length perhaps the first alone.
  std::vector<run_t> runs;
  /// The number of regions that are drawn, the first ones.
  std::size_t regionCount{0};
  /// All from the first to the last address, in ascending order, cut where a
  /// run or a region begins or ends. Their heights are to one scale, but for
  /// breaks and for what would be too low to be seen.
  std::vector<band_t> bands;
  /// Whether a band is higher than the scale has it.
  bool hasEnlarged{false};

  /// The bands that the addresses of `range` have: the first one, and the one
  /// that ends with them. It begins and ends where a run or a region does.
  const band_t& firstOf(const range_t& range) const;
  const band_t& lastOf(const range_t& range) const;

  /// Whether there is a break.
  bool hasBreaks() const;

  /// The height of all bands.
  tenths_t height() const { return bands.empty() ? 0 : bands.back().bottom(); }
};

/// Lays out the picture of `report`.
///
/// A gap, or the part of it that is in one region, is a break when it is longer
/// than half of all data. Whatever the image, its layout has few parts.
pictureLayout_t layOutPicture(const report_t& report);

/// A label beside the picture.
struct label_t {
  /// Where it would stand best.
  tenths_t top;
  /// Its height.
  tenths_t height;
};

/// Returns where `labels`, in the order from top to bottom, begin when none
/// covers another and none begins above `least`, each as near as can be to its
/// place.
std::vector<tenths_t> spreadLabels(const std::vector<label_t>& labels,
                                   tenths_t least);

#endif  // QORHEX_PICTURE_LAYOUT_H
