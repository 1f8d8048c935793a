// SPDX-License-Identifier: MIT
//
// The differences between two images as text on standard output.

#ifndef QORHEX_DIFFERENCE_TEXT_H
#define QORHEX_DIFFERENCE_TEXT_H

#include <string>
#include <vector>

#include "image/segments.h"
#include "reading/record_reader.h"
#include "telling/json.h"

/// One of two images that are compared.
struct compared_t {
  /// The name of its file, as it is.
  std::string name;
  /// Its bytes.
  SegmentWalk segments;
  /// Its start addresses, at most one of each type.
  const std::vector<startAddress_t>& startAddresses;
};

/// Writes a line for each difference between two images to standard output and
/// tells whether there are any.
///
/// A run of addresses has five columns: its first and last address, the size in
/// bytes and in a readable unit, and "only in <name>" or "differs", up to the
/// end of the line. Behind the runs stand the start addresses that only one
/// image has, or has with this value: "start address <address>", two blanks,
/// "only in <name>". Of equal images nothing is written.
///
/// Throws Failure when standard output does not take the text.
bool writeDifferences(const compared_t& first, const compared_t& second);

/// Does the same in `document`, behind its files, where one is given.
bool tellDifferences(const compared_t& first, const compared_t& second,
                     JsonDocument* document);

#endif  // QORHEX_DIFFERENCE_TEXT_H
