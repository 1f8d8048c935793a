// SPDX-License-Identifier: MIT
//
// The table of the segments.

#ifndef QORHEX_TABLE_H
#define QORHEX_TABLE_H

#include <iosfwd>
#include <vector>

#include "image/segments.h"

/// Writes the table of `segments` to `os`: a heading, a line for each, the
/// total; sizes in bytes, and once more in a readable unit. Without segments
/// there is the total only.
void listSegments(std::ostream& os, const std::vector<segment_t>& segments);

#endif  // QORHEX_TABLE_H
