// SPDX-License-Identifier: MIT
//
// Files that are none: texts in memory, which open(), fstat(), read() and
// close() take for files. The system has no part in them, which makes a run
// with a file as fast as one without.

#ifndef QORUTIL_TESTS_SUPPORT_MEMORY_FILE_H
#define QORUTIL_TESTS_SUPPORT_MEMORY_FILE_H

#include <cstddef>
#include <string>
#include <string_view>

/// How a text arrives.
struct arrival_t {
  /// The most bytes that one read() gives; 0 for all there are.
  std::size_t piece{0};
  /// Whether one read() gives no more than a line.
  bool byLine{false};
  /// Whether a signal interrupts every second read().
  bool interrupted{false};
  /// Whether it is a regular file, and not a pipe.
  bool regular{true};
};

/// A text that can be opened by its path as long as this lives, by one reader
/// at a time.
class MemoryFile {
 public:
  /// Makes a file of `contents`, which have to stay.
  explicit MemoryFile(std::string_view contents, arrival_t contentsArrive = {});
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();

  /// Returns the path.
  const std::string& path() const { return name; }

  /// Begins at the front.
  void rewind();

  /// Does what read() does.
  std::ptrdiff_t read(void* buffer, std::size_t size);

  /// Returns the whole text.
  std::string_view text() const { return all; }

  /// Tells whether this is a regular file.
  bool isRegular() const { return arrival.regular; }

 private:
  std::string_view all;
  std::string_view left;
  arrival_t arrival;
  bool interrupts{false};
  std::size_t slot;
  std::string name;
};

#endif  // QORUTIL_TESTS_SUPPORT_MEMORY_FILE_H
