// SPDX-License-Identifier: MIT
//
// The segments as a hex dump on standard output.

#ifndef QORHEX_DUMP_H
#define QORHEX_DUMP_H

#include <cstdint>

#include "image/segments.h"

/// Writes the bytes of `segments` to standard output,
/// `bytesPerLine` in a line, behind the image address of the line's first byte
/// and before the same bytes as text between bars, with a dot for each that
/// does not print. The bars of all lines stand below each other. Every segment
/// begins a line of its own, all but the first behind an empty line.
///
/// Throws Failure when standard output does not take the text; the rest is then
/// not made any more.
void dumpSegments(SegmentWalk segments, std::uint64_t bytesPerLine);

#endif  // QORHEX_DUMP_H
