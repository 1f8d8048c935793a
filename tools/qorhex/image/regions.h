// SPDX-License-Identifier: MIT
//
// The regions of a memory, as a map names them.

#ifndef QORHEX_REGIONS_H
#define QORHEX_REGIONS_H

#include <string>

#include "image/numbers.h"

/// A part of the memory that has a name.
struct region_t {
  /// The name: letters, digits, '_', '-' and '.'.
  std::string name;
  /// Its addresses.
  range_t range;
};

#endif  // QORHEX_REGIONS_H
