// SPDX-License-Identifier: MIT
//
// What is told about a text: its problems, and the start addresses.

#ifndef QORHEX_PROBLEMS_H
#define QORHEX_PROBLEMS_H

#include <cstddef>
#include <string>

#include "reading/problem.h"
#include "reading/record_reader.h"

/// Returns `problem` as lines of text: "<file>:<line>:<column>: error: <text>"
/// (or "warning:"), and where the line is at hand the line and a caret below
/// its column. A byte that cannot be printed is a dot. `coloured` text has
/// "error:" in red, "warning:" in magenta and the caret in green.
std::string problemText(const problem_t& problem, bool coloured = false);

/// Returns the problem without a line that a failure is for the text `name`,
/// the FILE `fileIndex`. `text`, its message, may begin with that name.
problem_t failureProblem(const std::string& name, const std::string& text,
                         std::size_t fileIndex);

/// Returns the address that `start` names, in words.
std::string startAddressText(const startAddress_t& start);

#endif  // QORHEX_PROBLEMS_H
