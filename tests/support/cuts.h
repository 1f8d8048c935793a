// SPDX-License-Identifier: MIT
//
// The places at which the files of tests/data/hex are cut.

#ifndef QORUTIL_TESTS_SUPPORT_CUTS_H
#define QORUTIL_TESTS_SUPPORT_CUTS_H

#include <cstddef>
#include <string>
#include <vector>

/// A file and the sizes to which it is to be cut, in ascending order: the end
/// of each line, and each of its last 64 bytes.
struct cutFile_t {
  std::string name;
  std::string text;
  std::vector<std::size_t> sizes;
};

/// Returns the HEX files of `folder`. Those of more than a few KiB, which take
/// long where nothing is optimised, are there with QORUTIL_ALL_CUTS in the
/// environment alone.
std::vector<cutFile_t> filesToCut(const std::string& folder);

#endif  // QORUTIL_TESTS_SUPPORT_CUTS_H
