// SPDX-License-Identifier: MIT
//
// Runs programs.

#ifndef QORUTIL_TESTS_SUPPORT_PROCESS_H
#define QORUTIL_TESTS_SUPPORT_PROCESS_H

#include <functional>
#include <string>
#include <vector>

#include "support/files.h"

/// What became of a program.
struct processResult_t {
  /// The exit status; 1000 plus the number of the signal that ended it.
  int status;
  /// What went to its standard output.
  std::string out;
  /// What went to its standard error.
  std::string err;
  /// The most memory that it held at a time, in KiB.
  long peakMemory;
};

/// Runs `command` (the program's path and its arguments) in `folder`, in the C
/// locale and without input, and waits for its end. `inChild` is called in the
/// new process just before the program starts there.
///
/// The program is one of this build: where that is a cross build, the emulator
/// runs it. It ends with the test that started it, and what `inChild` forks
/// ends with the program; none can outlive a test that fails or is stopped.
processResult_t runProcess(const std::vector<std::string>& command,
                           const std::string& folder,
                           const std::function<void()>& inChild = {});

/// Tells whether an emulator runs the programs. It keeps the last two signals
/// for itself.
bool programsAreEmulated();

#endif  // QORUTIL_TESTS_SUPPORT_PROCESS_H
