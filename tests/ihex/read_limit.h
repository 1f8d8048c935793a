// SPDX-License-Identifier: MIT
//
// Files that break off, or arrive in small pieces. A program that uses this has
// its `read` replaced, for the libraries too.

#ifndef QORUTIL_TESTS_IHEX_READ_LIMIT_H
#define QORUTIL_TESTS_IHEX_READ_LIMIT_H

#include <cstddef>
#include <functional>

/// While it lives, `read` gives `remaining` bytes more and fails with EIO from
/// then on.
struct ReadLimit {
  explicit ReadLimit(std::size_t count);
  ReadLimit(const ReadLimit&) = delete;
  ReadLimit& operator=(const ReadLimit&) = delete;
  ~ReadLimit();

  std::size_t remaining;
  /// The most that one call gives.
  std::size_t pieceSize{static_cast<std::size_t>(-1)};
  /// How many calls are interrupted before the first that is not.
  int interruptions{0};
  /// Is called first, with the descriptor.
  std::function<void(int)> observer{[](int) {}};
};

#endif  // QORUTIL_TESTS_IHEX_READ_LIMIT_H
