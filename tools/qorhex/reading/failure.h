// SPDX-License-Identifier: MIT
//
// Why the tool gives up on a file, or on all, and the exit status for it.

#ifndef QORHEX_FAILURE_H
#define QORHEX_FAILURE_H

#include <string>

#include <qorutil/exception.h>

/// The exit statuses; of several the highest counts.
enum exitStatus_t : int {
  /// All is well.
  ALL_WELL = 0,
  /// Two images differ.
  DIFFERENT = 1,
  /// The command line makes no sense.
  WRONG_USAGE = 2,
  /// A file is refused for what it holds.
  REFUSED = 3,
  /// Something could not be read or written, or memory ran out.
  SYSTEM_FAILED = 4
};

/// What could not be done. what() is the message without the name of the tool:
/// "<subject>: <text>", with the subject, a name, escaped.
class Failure : public QorException {
 public:
  /// The status to exit with.
  const exitStatus_t status;

  /// Makes a failure with the text of the system error `error` behind
  /// `subject`.
  Failure(int error, const std::string& subject);

  /// Makes the failure "<subject>: <text>".
  Failure(exitStatus_t exitStatus, const std::string& subject,
          const std::string& text);
};

/// Throws a Failure for `errno`, of status SYSTEM_FAILED.
[[noreturn]] void throwSystemError(const std::string& subject);

#endif  // QORHEX_FAILURE_H
