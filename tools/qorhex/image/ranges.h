// SPDX-License-Identifier: MIT
//
// The part of an image that the user wants.

#ifndef QORHEX_RANGES_H
#define QORHEX_RANGES_H

#include <cstdint>
#include <vector>

#include "image/numbers.h"
#include "image/segments.h"

/// Returns the union of `ranges`: in ascending order, none touching the next.
std::vector<range_t> uniteRanges(std::vector<range_t> ranges);

/// Reduces `segments` to what lies in `ranges`, a union as uniteRanges()
/// returns it, and returns the number of bytes left out.
///
/// Both segments and their stretches are in ascending order, before and after.
/// A segment with a hole becomes several. No byte is moved or copied.
std::uint64_t cropSegments(std::vector<segment_t>& segments,
                           const std::vector<range_t>& ranges);

#endif  // QORHEX_RANGES_H
