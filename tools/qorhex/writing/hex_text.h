// SPDX-License-Identifier: MIT
//
// An image as Intel HEX text.

#ifndef QORHEX_HEX_TEXT_H
#define QORHEX_HEX_TEXT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "image/segments.h"

/// A start address, as a record of its own holds it.
struct startRecord_t {
  /// The record type: 3 (CS:IP) or 5 (EIP).
  unsigned type;
  /// The four bytes of data, the first one highest.
  std::uint32_t value;
};

/// Takes a piece of text.
using TextSink = std::function<void(const char* text, std::size_t size)>;

/// Writes `segments` as Intel HEX text to `sink`, in large pieces.
///
/// Data records have 16 bytes, from the start of each segment and anew behind
/// each 64 KiB edge; an extended linear address record (04) stands before the
/// first upper half that is not 0, and wherever it changes. The records of
/// `starts` follow as they are, then the end record. Digits are upper case,
/// lines end in a line feed.
///
/// The bytes of a segment are those of its stretches one after the other,
/// whatever addresses these have. Its addresses end at 0xffffffff or before.
void writeHexText(const std::vector<segment_t>& segments,
                  const std::vector<startRecord_t>& starts,
                  const TextSink& sink);

#endif  // QORHEX_HEX_TEXT_H
