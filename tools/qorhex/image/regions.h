// SPDX-License-Identifier: MIT
//
// The regions of a memory, as a map names them.

#ifndef QORHEX_REGIONS_H
#define QORHEX_REGIONS_H

#include <string>
#include <vector>

#include "image/numbers.h"
#include "reading/problem.h"
#include "reading/text_input.h"

/// A part of the memory that has a name.
struct region_t {
  /// The name: letters, digits, '_', '-' and '.'.
  std::string name;
  /// Its addresses.
  range_t range;
};

/// Reads the map `text` and returns its regions in ascending order.
///
/// A region is a line of two words, "<name> <range>", the range as parseRange()
/// takes it. What stands behind '#' is comment; lines may be blank, and end in
/// a carriage return. A byte-order mark may begin the text.
///
/// Every problem goes to `sink`, at most one for a line: names and regions that
/// are given already, what is no region, a line that is longer than what
/// TextInput holds, which ends the reading, and a map without a region. Where
/// `sink` returns, a line with a problem adds nothing. Throws Failure where
/// reading fails.
std::vector<region_t> readRegions(TextInput& text, const problemSink_t& sink);

#endif  // QORHEX_REGIONS_H
