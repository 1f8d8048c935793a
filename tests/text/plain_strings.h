// SPDX-License-Identifier: MIT
//
// Splitting and replacing byte by byte, to hold the library against.

#ifndef QORUTIL_TESTS_TEXT_PLAIN_STRINGS_H
#define QORUTIL_TESTS_TEXT_PLAIN_STRINGS_H

#include <cctype>
#include <cstddef>
#include <string>
#include <vector>

/// What split() returns.
inline std::vector<std::string> plainSplit(const std::string& text,
                                           char separator) {
  std::vector<std::string> fields(1);
  for (const char byte : text) {
    if (byte == separator) {
      fields.emplace_back();
    } else {
      fields.back() += byte;
    }
  }
  return fields;
}

/// What tokenize() returns.
inline std::vector<std::string> plainTokenize(const std::string& text) {
  std::vector<std::string> words;
  bool inWord = false;
  for (const char byte : text) {
    if (std::isspace(static_cast<signed char>(byte)) != 0) {
      inWord = false;
    } else if (inWord) {
      words.back() += byte;
    } else {
      words.emplace_back(1, byte);
      inWord = true;
    }
  }
  return words;
}

/// What strReplace() makes of `text`.
inline std::string plainReplace(std::string text, const std::string& pattern,
                                const std::string& replacement) {
  std::size_t from = 0;
  while ((from = text.find(pattern, from)) != std::string::npos) {
    text.replace(from, pattern.size(), replacement);
    from += replacement.size();
  }
  return text;
}

#endif  // QORUTIL_TESTS_TEXT_PLAIN_STRINGS_H
