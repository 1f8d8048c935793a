// SPDX-License-Identifier: MIT
//
// The text of a HEX file: opened once and read once, in large pieces.

#ifndef QORHEX_TEXT_INPUT_H
#define QORHEX_TEXT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "reading/descriptor.h"

/// What some editors put at the beginning of a text in UTF-8.
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// A FILE argument, open for reading; "-" is standard input.
///
/// What was read and not taken yet lies between text() and text() + left();
/// some characters of no meaning can be read behind that.
class TextInput {
 public:
  /// Opens `path`. Throws Failure when that fails.
  explicit TextInput(const std::string& path);

  /// Returns the name for messages.
  const std::string& name() const { return fileName; }

  /// Tells whether this is a regular file: one that has an end, and whose size
  /// is known.
  bool isRegular() const { return regular; }

  /// Returns the size in bytes, 0 where it is not known beforehand.
  std::uint64_t size() const { return bytes; }

  /// Returns the first `kindRoom` bytes, as far as they were read.
  std::string_view beginning() const { return firstBytes; }

  /// Has `observer` called with the number of bytes of every piece.
  void watch(std::function<void(std::size_t)> observer);

  /// Returns the next character.
  const char* text() const { return buffer.data() + begin; }

  /// Returns the number of characters that were read and not taken.
  std::size_t left() const { return end - begin; }

  /// Takes `count` characters, which stay where they are until more are read.
  void take(std::size_t count) { begin += count; }

  /// Tells whether no more can be read before something is taken.
  bool isFull() const { return left() == pieceSize; }

  /// Reads what there is of the text, at least one character, behind that which
  /// is left, which moves; false at the end of the text, where nothing moves.
  /// Must not be called when isFull(). Throws Failure.
  bool readMore();

  /// The most characters that are left at a time.
  static constexpr std::size_t pieceSize = std::size_t{128} << 10U;

 private:
  std::string fileName;
  Descriptor file;
  bool regular{false};
  std::uint64_t bytes{0};
  std::function<void(std::size_t)> watcher;
  std::string firstBytes;
  std::vector<char> buffer;
  std::size_t begin{0};
  std::size_t end{0};
};

#endif  // QORHEX_TEXT_INPUT_H
