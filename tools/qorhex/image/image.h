// SPDX-License-Identifier: MIT
//
// From a HEX file to its image.

#ifndef QORHEX_IMAGE_H
#define QORHEX_IMAGE_H

#include <string>
#include <vector>

#include <qorutil/intelhex.h>

#include "image/merging.h"
#include "image/sources.h"
#include "reading/record_reader.h"

/// What HEX files hold.
struct image_t {
  /// The bytes: blocks in ascending order that do not overlap.
  IntelHexFile blocks;
  /// Where each byte stands in the texts; nothing with loadImage().
  Sources sources;
  /// The start addresses, at most one of each type.
  std::vector<startAddress_t> startAddresses;
  /// Those that a later text has replaced by different ones.
  std::vector<startAddress_t> replacedStarts;
  /// What several records gave.
  mergeCount_t merged;
};

/// Leaves the reading of the file `path` to the library; blocks that overlap
/// are made disjoint, the later one counting.
///
/// Throws Failure, behind the messages of the library.
image_t loadImage(const std::string& path);

#endif  // QORHEX_IMAGE_H
