// SPDX-License-Identifier: MIT

#include "qorutil/exception.h"

#include <cstring>
#include <ostream>
#include <utility>

QorException::QorException(int errnum, const char* text) noexcept
    : std::ostringstream(text, std::ios_base::out | std::ios_base::ate),
      errorNumber(errnum) {
  addError(errnum);
  // An insertion keeps std::bad_alloc to itself and leaves the stream bad; the
  // only other thing that does so is a null description.
  if (bad() && std::strerror(errnum) != nullptr) {
    std::terminate();
  }
}

// The text that what() has returned stays with the object that returned it.
QorException::QorException(QorException&& other) noexcept
    : std::ostringstream(std::move(static_cast<std::ostringstream&>(other))),
      errorNumber(other.errorNumber) {}

QorException::~QorException() = default;

void QorException::addError(int errnum) {
  if (errnum != 0) {
    *this << ": " << std::strerror(errnum);
  }
}

const char* QorException::what() const noexcept {
  whatText = str();
  return whatText.c_str();
}

int QorException::getErrorNumber() const noexcept {
  return errorNumber;
}

std::ostream& operator<<(std::ostream& os, const QorException& exception) {
  return os << exception.str();
}

std::ostream& operator<<(std::ostream& os,
                         const QorSimpleException& exception) {
  return os << exception.message;
}
