// SPDX-License-Identifier: MIT
//
// Where two images differ.

#ifndef QORHEX_DIFFERENCES_H
#define QORHEX_DIFFERENCES_H

#include <functional>
#include <vector>

#include "image/numbers.h"
#include "image/segments.h"
#include "reading/record_reader.h"

/// What is different. An address without a byte differs from any byte, 0xff
/// too.
enum class differenceKind_t {
  /// Only the first image has bytes there.
  ONLY_A,
  /// Only the second image has bytes there.
  ONLY_B,
  /// Both have bytes, every one different.
  DIFFERS
};

/// A run of addresses with one kind of difference, as long as it can be.
struct difference_t {
  /// The addresses.
  range_t range;
  /// What is different there.
  differenceKind_t kind;
};

/// Takes a difference.
using differenceSink_t = std::function<void(const difference_t& difference)>;

/// Gives `sink` every difference between the segments of two images, in
/// ascending order. Nobody has to hold them all: two images can have as many
/// as they have bytes.
void findDifferences(SegmentWalk first, SegmentWalk second,
                     const differenceSink_t& sink);

/// Tells whether two images, each with at most one start address of a type,
/// have different ones. Their order and their lines do not matter.
bool startAddressesDiffer(const std::vector<startAddress_t>& first,
                          const std::vector<startAddress_t>& second);

#endif  // QORHEX_DIFFERENCES_H
