// SPDX-License-Identifier: MIT
//
// What a load or a parse lets be seen, of the library and of the reference.

#ifndef QORUTIL_TESTS_IHEX_OUTCOME_H
#define QORUTIL_TESTS_IHEX_OUTCOME_H

#include "qorutil/intelhex.h"

#include <functional>
#include <string>
#include <vector>

#include "ihex/reference.h"

/// Everything that a call lets be seen from outside.
struct Outcome {
  std::string result;
  std::vector<ReferenceBlock> blocks;
  std::string transcript;
  std::string out;
  std::string err;
};

/// Runs `action`, which may throw, and notes its result and its texts.
Outcome observe(const std::function<bool()>& action);

/// Tells whether two outcomes are the same; a difference is a failed test.
void expectSame(const Outcome& actual, const Outcome& expected);

/// Returns the blocks of `image`.
std::vector<ReferenceBlock> blocksOf(const IntelHexFile& image);

#endif  // QORUTIL_TESTS_IHEX_OUTCOME_H
