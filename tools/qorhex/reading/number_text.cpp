// SPDX-License-Identifier: MIT

#include "reading/number_text.h"

#include <sstream>

#include <qorutil/system.h>

std::string hexText(std::uint64_t value, int digits) {
  std::string text = "0x";
  int length = 1;
  while (length < 16 && value >> (4 * length) != 0) {
    ++length;
  }
  for (int left = length < digits ? digits : length; left > 0; --left) {
    text += "0123456789abcdef"[value >> (4 * (left - 1)) & 0xFU];
  }
  return text;
}

std::string sizeText(std::uint64_t bytes) {
  if (bytes < 1024) {  // most segments are small, and there are many of them
    return std::to_string(bytes) + 'B';
  }
  std::ostringstream text;
  text << printSize(bytes);
  return text.str();
}

std::string countText(std::uint64_t count, const std::string& unit) {
  return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

std::string percentText(std::uint64_t part, std::uint64_t whole) {
  const std::uint64_t tenths = part * 1000 / whole;
  return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + '%';
}
