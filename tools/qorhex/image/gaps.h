// SPDX-License-Identifier: MIT
//
// What lies between the data of an image.

#ifndef QORHEX_GAPS_H
#define QORHEX_GAPS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/numbers.h"

/// Returns the gap between the neighbours `before` and `after`, which do not
/// touch.
inline range_t gapBetween(const range_t& before, const range_t& after) {
  return {before.last + 1, after.first - 1};
}

/// Returns those of `gaps` that are longer than `least`, in their order; of
/// more than `most` the longest, and of gaps of one length the first.
std::vector<range_t> longestGaps(std::vector<range_t> gaps, std::uint64_t least,
                                 std::size_t most);

#endif  // QORHEX_GAPS_H
