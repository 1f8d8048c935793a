// SPDX-License-Identifier: MIT
//
// Composes the text of a record, without a stream.

#ifndef QORUTIL_COMMON_LINE_BUFFER_H
#define QORUTIL_COMMON_LINE_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace qorutil_internal {

/// A text that grows at its end. The caller sees to it that no more than room()
/// characters are put in.
class LineBuffer {
 public:
  /// The room of an empty text.
  static constexpr std::size_t capacity = 1000;

  /// How many characters more it takes.
  std::size_t room() const { return capacity - size; }

  /// Adds one character.
  LineBuffer& put(char character) {
    text[size++] = character;
    return *this;
  }

  /// Adds a text.
  LineBuffer& put(std::string_view piece) {
    std::memcpy(text + size, piece.data(), piece.size());
    size += piece.size();
    return *this;
  }

  /// Adds a decimal number, filled up with zeros to `width` characters, also in
  /// front of a sign.
  LineBuffer& decimal(std::int64_t value, std::size_t width = 0);

  /// Adds a lower-case hexadecimal number, filled up with zeros to `width`
  /// digits.
  LineBuffer& hexadecimal(std::uint64_t value, std::size_t width = 0);

  /// Adds a space and two hexadecimal digits for each byte.
  LineBuffer& hexBytes(const unsigned char* bytes, std::size_t count);

  /// The text.
  std::string_view view() const { return {text, size}; }

 private:
  // Not initialised: most texts are short.
  char text[capacity];
  std::size_t size = 0;
};

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_LINE_BUFFER_H
