// SPDX-License-Identifier: MIT
//
// The fast way of the printers: a piece of text is composed in a buffer of its
// own and handed to the stream at once, where nobody can tell that from the
// insertions it replaces.

#ifndef QORUTIL_COMMON_LINE_BUFFER_H
#define QORUTIL_COMMON_LINE_BUFFER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string_view>

/// Two lower-case hexadecimal digits for each byte.
extern const std::array<char, 512> hexPairs;

/// Text on its way to a stream. The caller sees to it that no more than room()
/// characters are put in.
class LineBuffer {
 public:
  /// The largest room there is.
  static constexpr std::size_t capacity = 1000;

  /// Finds out what `stream` takes at once. That is nothing while a field width
  /// is pending.
  explicit LineBuffer(std::ostream& stream);

  /// Has all the room, and no stream.
  LineBuffer();

  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

  /// How many characters more the stream takes; 0 asks for insertions.
  std::size_t room() const { return static_cast<std::size_t>(last - end); }

  /// Adds one character.
  LineBuffer& put(char character) {
    *end++ = character;
    return *this;
  }

  /// Adds a text.
  LineBuffer& put(std::string_view piece) {
    std::memcpy(end, piece.data(), piece.size());
    end += piece.size();
    return *this;
  }

  /// Adds `count` times the same character.
  LineBuffer& pad(std::size_t count, char fill) {
    std::memset(end, fill, count);
    end += count;
    return *this;
  }

  /// Adds a decimal number, filled up with zeros to `width` characters, also in
  /// front of a sign.
  LineBuffer& decimal(std::int64_t value, std::size_t width = 0);

  /// Adds a lower-case hexadecimal number, filled up with zeros to `width`
  /// digits.
  LineBuffer& hexadecimal(std::uint64_t value, std::size_t width = 0);

  /// Adds the two digits of a byte.
  LineBuffer& hexByte(unsigned char byte) {
    std::memcpy(end, &hexPairs[std::size_t{2} * byte], 2);
    end += 2;
    return *this;
  }

  /// Where the next character goes, for callers that put it there themselves.
  char*& position() { return end; }

  /// The text.
  std::string_view view() const {
    return {text, static_cast<std::size_t>(end - text)};
  }

  /// Hands the text over and returns the stream. Called once.
  std::ostream& insert();

 private:
  LineBuffer& putDigits(const char* first, const char* behind,
                        std::size_t width);

  std::ostream* os;
  // Not initialised: most pieces are short.
  char text[capacity];
  char* end;
  char* last;
};

#endif  // QORUTIL_COMMON_LINE_BUFFER_H
