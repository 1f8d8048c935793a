// SPDX-License-Identifier: MIT
//
// What the tool makes of the segments: the table and the binary files.

#ifndef QORHEX_WRITING_H
#define QORHEX_WRITING_H

#include <iosfwd>
#include <string>
#include <vector>

#include "arguments.h"
#include "segments.h"

/// Writes the table of `segments` to `os`: a heading, a line for each, the
/// total; sizes in bytes, and once more in a readable unit. Without segments
/// there is the total only.
void listSegments(std::ostream& os, const std::vector<segment_t>& segments);

/// Writes the files that `arguments` ask for, for the HEX file `path`.
///
/// Throws QorException; no file is then in place unless putting the complete
/// files in place failed itself.
void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments);

#endif  // QORHEX_WRITING_H
