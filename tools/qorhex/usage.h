// SPDX-License-Identifier: MIT
//
// Which options go together.

#ifndef QORHEX_USAGE_H
#define QORHEX_USAGE_H

#include <string>

#include "arguments.h"

/// Thrown where the command line makes no sense.
struct usageError_t {
  /// Why, in words that name the options.
  std::string reason;
};

/// Throws usageError_t unless `arguments` make sense together. Looks at the
/// files that they name, but opens none.
void checkUsage(const arguments_t& arguments);

#endif  // QORHEX_USAGE_H
