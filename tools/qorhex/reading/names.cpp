// SPDX-License-Identifier: MIT

#include "reading/names.h"

#include <cstddef>
#include <cstdint>

namespace {

unsigned char byteAt(const std::string& text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// The bytes that a character has whose first byte is `first`; 0 for none.
std::size_t lengthOf(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  return first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// Returns the length of the character at `at` if it may stand as it is, else 0.
std::size_t plainCharacter(const std::string& text, std::size_t at) {
  const unsigned char first = byteAt(text, at);
  const std::size_t length = lengthOf(first);
  if (length == 0 || text.size() - at < length) {
    return 0;
  }
  if (length == 1) {
    return first >= 0x20 && first != 0x7F && first != '\\' ? 1 : 0;
  }
  std::uint32_t value = first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char next = byteAt(text, at + i);
    if ((next & 0xC0U) != 0x80) {
      return 0;
    }
    value = value << 6U | (next & 0x3FU);
  }
  constexpr std::uint32_t least[] = {0, 0, 0xA0, 0x800, 0x10000};
  const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
  return value >= least[length] && value <= 0x10FFFF && !surrogate ? length : 0;
}

}  // namespace

std::string nameOf(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::string escapeName(const std::string& name) {
  constexpr char digits[] = "0123456789abcdef";
  std::string escaped;
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t length = plainCharacter(name, at);
    if (length != 0) {
      escaped.append(name, at, length);
      at += length;
      continue;
    }
    const unsigned char byte = byteAt(name, at++);
    escaped += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
  }
  return escaped;
}
