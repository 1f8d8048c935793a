// SPDX-License-Identifier: MIT

#include "reading/names.h"

#include <string_view>

#include "reading/utf8.h"

namespace {

void appendEscaped(std::string& text, std::string_view bytes) {
  constexpr char digits[] = "0123456789abcdef";
  for (const char each : bytes) {
    const auto byte = static_cast<unsigned char>(each);
    text += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
  }
}

}  // namespace

std::string nameOf(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::string escapeName(const std::string& name) {
  std::string escaped;
  for (std::string_view rest = name; !rest.empty();) {
    bool valid = false;
    const std::string_view character = firstCharacter(rest, valid);
    rest.remove_prefix(character.size());
    if (valid && !isControl(character) && character != "\\") {
      escaped += character;
    } else {
      appendEscaped(escaped, character);
    }
  }
  return escaped;
}
