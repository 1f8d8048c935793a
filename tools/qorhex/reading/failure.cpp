// SPDX-License-Identifier: MIT

#include "reading/failure.h"

#include <cerrno>

#include "reading/names.h"

// NOLINTBEGIN(bugprone-throw-keyword-missing): these are the base class
Failure::Failure(int error, const std::string& subject)
    : QorException(error, escapeName(subject).c_str()), status(SYSTEM_FAILED) {}

Failure::Failure(exitStatus_t exitStatus, const std::string& subject,
                 const std::string& text)
    : QorException(0, (escapeName(subject) + ": " + text).c_str()),
      status(exitStatus) {}

// NOLINTEND(bugprone-throw-keyword-missing)

void throwSystemError(const std::string& subject) {
  throw Failure(errno, subject);
}
