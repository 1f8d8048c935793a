// SPDX-License-Identifier: MIT

#include "reading/utf8.h"

#include <cstddef>

namespace {

// What may follow the first byte of a character.
struct sequence_t {
  std::size_t size;  // 0 where the byte begins none
  unsigned char leastSecond;
  unsigned char mostSecond;
};

sequence_t sequenceOf(unsigned char first) {
  if (first < 0xC2 || first > 0xF4) {
    return {first < 0x80 ? std::size_t{1} : 0, 0, 0};
  }
  switch (first) {
    case 0xE0:
      return {3, 0xA0, 0xBF};
    case 0xED:
      return {3, 0x80, 0x9F};
    case 0xF0:
      return {4, 0x90, 0xBF};
    case 0xF4:
      return {4, 0x80, 0x8F};
    default:
      return {first < 0xE0   ? std::size_t{2}
              : first < 0xF0 ? 3U
                             : 4U,
              0x80, 0xBF};
  }
}

}  // namespace

std::string_view firstCharacter(std::string_view bytes, bool& valid) {
  const sequence_t sequence =
      sequenceOf(static_cast<unsigned char>(bytes.front()));
  std::size_t size = 1;
  while (size < sequence.size && size < bytes.size()) {
    const auto next = static_cast<unsigned char>(bytes[size]);
    const bool fits =
        size == 1 ? next >= sequence.leastSecond && next <= sequence.mostSecond
                  : next >= 0x80 && next <= 0xBF;
    if (!fits) {
      break;
    }
    ++size;
  }
  valid = size == sequence.size;
  return bytes.substr(0, size);
}

bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  return first < 0x20 || first == 0x7F ||
         (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}
