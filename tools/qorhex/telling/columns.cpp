// SPDX-License-Identifier: MIT

#include "telling/columns.h"

#include <algorithm>

void appendRight(std::string& text, std::string_view word, std::size_t width) {
  text.append(width - std::min(width, word.size()), ' ');
  text += word;
}

void appendLeft(std::string& text, std::string_view word, std::size_t width) {
  text += word;
  text.append(width - std::min(width, columnsOf(word)), ' ');
}

std::size_t columnsOf(std::string_view word) {
  return static_cast<std::size_t>(
      std::count_if(word.begin(), word.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) != 0x80;
      }));
}

void endLine(std::string& text) {
  text.resize(text.find_last_not_of(' ') + 1);
  text += '\n';
}
