// SPDX-License-Identifier: MIT
//
// A pseudo-terminal for programs under test.

#ifndef QORUTIL_TESTS_SUPPORT_TERMINAL_H
#define QORUTIL_TESTS_SUPPORT_TERMINAL_H

#include <string>
#include <thread>

/// A terminal that keeps what is written to it. Like any terminal it makes
/// "\r\n" of every line end.
class PseudoTerminal {
 public:
  /// Makes a terminal with so many columns.
  explicit PseudoTerminal(unsigned short columns);

  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;
  ~PseudoTerminal();

  /// Makes `descriptor` of this process the terminal: for the new process of
  /// runProcess().
  void become(int descriptor) const;

  /// Ends the terminal and returns all that was written to it.
  std::string text();

 private:
  void close();

  int master;
  int slave;
  std::string written;
  std::thread reader;
};

#endif  // QORUTIL_TESTS_SUPPORT_TERMINAL_H
