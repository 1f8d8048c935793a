// SPDX-License-Identifier: MIT
//
// What a printer writes to the streams that programs print to.

#ifndef QORUTIL_TESTS_SUPPORT_PRINTED_H
#define QORUTIL_TESTS_SUPPORT_PRINTED_H

#include <functional>
#include <ostream>
#include <string>

/// Returns what `print` writes to a fresh string stream. Prints four times
/// more: to a string stream that holds a character already, to a file stream,
/// to a stream in `unitbuf` mode, and to one whose locale is not the classic
/// one though it prints like it. Where one of them gets another text, the
/// result begins with "differs".
std::string printed(const std::function<void(std::ostream& os)>& print);

/// The same for what has an inserter.
template <class T>
std::string printedText(const T& value) {
  return printed([&value](std::ostream& os) { os << value; });
}

#endif  // QORUTIL_TESTS_SUPPORT_PRINTED_H
