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
#include "reading/problem.h"
#include "reading/record_reader.h"
#include "reading/text_input.h"

/// What a HEX file holds.
struct image_t {
  /// The bytes: blocks in ascending order that do not overlap.
  IntelHexFile blocks;
  /// Where each byte stands in the text; nothing with loadImage().
  Sources sources;
  /// The start addresses, at most one of each type.
  std::vector<startAddress_t> startAddresses;
  /// What several records gave.
  mergeCount_t merged;
};

/// Reads `text` to its image. Problems go to `sink`: first those of single
/// lines, in the order of the lines; then, unless `force` accepts them, bytes
/// that conflict, by ascending address.
///
/// Throws Failure where reading fails, and what `sink` throws.
image_t readImage(TextInput& text, bool force, const problemSink_t& sink);

/// Leaves the reading of the file `path` to the library; blocks that overlap
/// are made disjoint, the later one counting.
///
/// Throws Failure, behind the messages of the library.
image_t loadImage(const std::string& path);

#endif  // QORHEX_IMAGE_H
