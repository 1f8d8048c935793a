// SPDX-License-Identifier: MIT
//
// The files that a command line asks for.

#ifndef QORHEX_OUTPUTS_H
#define QORHEX_OUTPUTS_H

#include <string>
#include <vector>

#include "arguments.h"
#include "image/segments.h"
#include "reading/record_reader.h"
#include "telling/report.h"
#include "writing/target.h"

/// Writes the files that `arguments` ask for, for the HEX file `path` with its
/// `segments` and start addresses `starts`, and takes them down in `inUse`,
/// none of whose files is written to. A picture shows `report`.
///
/// Throws QorException; what that leaves stands at OutputSet::write().
void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments,
                const std::vector<startAddress_t>& starts,
                const report_t& report, FilesInUse& inUse);

#endif  // QORHEX_OUTPUTS_H
