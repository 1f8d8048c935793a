// SPDX-License-Identifier: MIT
//
// Reads a text file piece by piece, for a loader that looks at lines in place.

#ifndef QORUTIL_IHEX_TEXT_READER_H
#define QORUTIL_IHEX_TEXT_READER_H

#include <cstddef>
#include <memory>
#include <string>

namespace qorutil_internal {

/// An open file and the piece of its text that is being looked at.
class TextReader {
 public:
  /// Opens `path` for reading; isOpen() tells whether that succeeded.
  explicit TextReader(const char* path);
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;
  ~TextReader();

  bool isOpen() const { return descriptor != -1; }

  /// The text from the current position on: a whole line, or what is left of
  /// the file, or else `lookAhead` characters at least. So many can always be
  /// read there; those behind the end of the text are NUL. Nothing is read from
  /// the file while a whole line is there, as its writer may have ended without
  /// closing it.
  const char* text() {
    if (end - cursor < static_cast<std::ptrdiff_t>(lookAhead)) {
      refill();
    }
    return cursor;
  }

  /// Goes on by `count` characters of the text.
  void skip(std::size_t count) { cursor += count; }

  /// Reads the line at the current position as std::getline does: up to a line
  /// feed, which is not kept, or to the end of the file.
  void getLine(std::string& line);

  /// Tells whether getLine() met the end of the file.
  bool eof() const { return metEnd; }

  /// Tells whether getLine() met a read error.
  bool bad() const { return metError; }

  static constexpr std::size_t lookAhead = 640;

 private:
  void refill();

  std::unique_ptr<char[]> buffer;  // before the file is open: this may throw
  int descriptor;
  const char* cursor;
  const char* end;
  bool finished{false};
  bool failed{false};
  bool metEnd{false};
  bool metError{false};
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_TEXT_READER_H
