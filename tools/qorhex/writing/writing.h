// SPDX-License-Identifier: MIT
//
// The files that the tool writes.

#ifndef QORHEX_WRITING_H
#define QORHEX_WRITING_H

#include <string>
#include <vector>

#include "arguments.h"
#include "image/segments.h"

/// Writes the files that `arguments` ask for, for the HEX file `path`.
///
/// Throws QorException; no file is then in place unless putting the complete
/// files in place failed itself.
void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments);

#endif  // QORHEX_WRITING_H
