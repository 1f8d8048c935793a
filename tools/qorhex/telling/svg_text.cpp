// SPDX-License-Identifier: MIT

#include "telling/svg_text.h"

#include <string_view>

namespace {

constexpr struct {
  std::string_view text;
  const char* replacement;
} replacements[] = {
    {"&", "&amp;"},
    {"<", "&lt;"},
    {">", "&gt;"},
    {"\"", "&quot;"},
    {"\xEF\xBF\xBE", "\xEF\xBF\xBD"},
    {"\xEF\xBF\xBF", "\xEF\xBF\xBD"},
};

constexpr const char* ellipsis = "\xE2\x80\xA6";

bool isInside(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

// The columns of the character that begins with `byte`, 0 inside of one.
std::size_t columnsAt(char byte) {
  constexpr unsigned char beginsWide = 0xE1;
  if (isInside(byte)) {
    return 0;
  }
  return static_cast<unsigned char>(byte) >= beginsWide ? 2 : 1;
}

}  // namespace

std::string xmlText(const std::string& text) {
  std::string escaped;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t taken = 0;
    for (const auto& [special, replacement] : replacements) {
      if (text.compare(at, special.size(), special) == 0) {
        escaped += replacement;
        taken = special.size();
        break;
      }
    }
    if (taken == 0) {
      escaped += text[at];
      taken = 1;
    }
    at += taken;
  }
  return escaped;
}

std::string shortened(const std::string& text, std::size_t columns) {
  std::size_t width = 0;
  for (const char byte : text) {
    width += columnsAt(byte);
  }
  if (width <= columns) {
    return text;
  }
  const std::size_t half = (columns - 1) / 2;
  std::size_t front = 0;
  for (std::size_t used = 0; used + columnsAt(text[front]) <= half; ++front) {
    used += columnsAt(text[front]);
  }
  std::size_t back = text.size();
  for (std::size_t used = 0; used + columnsAt(text[back - 1]) <= half;) {
    used += columnsAt(text[--back]);
  }
  while (isInside(text[back])) {
    ++back;
  }
  return text.substr(0, front) + ellipsis + text.substr(back);
}

std::string pixels(tenths_t tenths) {
  std::string text = std::to_string(tenths / 10);
  if (tenths % 10 != 0) {
    text += '.' + std::to_string(tenths % 10);
  }
  return text;
}
