// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <cctype>
#include <cstddef>
#include <cstring>

namespace {

// Bytes reach the character classes as signed values on every target, the ones
// where plain char is unsigned included.
bool isSpace(char byte) {
  return std::isspace(static_cast<signed char>(byte)) != 0;
}

char toLower(char byte) {
  return static_cast<char>(std::tolower(static_cast<signed char>(byte)));
}

// The first position in [from, text.size()) that holds no white space, or
// text.size().
std::size_t skipSpace(const std::string& text, std::size_t from) {
  while (from < text.size() && isSpace(text[from])) {
    ++from;
  }
  return from;
}

}  // namespace

lcstring::lcstring(const char* text) {
  const std::size_t length = std::strlen(text);
  for (std::size_t i = 0; i < length; ++i) {
    push_back(toLower(text[i]));
  }
}

lcstring::lcstring(const std::string& text) {
  reserve(text.size());
  for (const char byte : text) {
    push_back(toLower(byte));
  }
}

void split(const std::string& text, char separator,
           std::vector<std::string>& fields) {
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find(separator, start);
    if (end == std::string::npos) {
      fields.emplace_back(text, start);
      return;
    }
    fields.emplace_back(text, start, end - start);
    start = end + 1;
  }
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  split(text, separator, fields);
  return fields;
}

void tokenize(const std::string& text, std::vector<std::string>& words) {
  std::size_t start = skipSpace(text, 0);
  while (start < text.size()) {
    std::size_t end = start;
    while (end < text.size() && !isSpace(text[end])) {
      ++end;
    }
    words.emplace_back(text, start, end - start);
    start = skipSpace(text, end);
  }
}

std::vector<std::string> tokenize(const std::string& text) {
  std::vector<std::string> words;
  tokenize(text, words);
  return words;
}

std::string& strReplace(std::string& text, const std::string& pattern,
                        const std::string& replacement) {
  std::size_t from = 0;
  for (;;) {
    from = text.find(pattern, from);
    if (from == std::string::npos) {
      return text;
    }
    text.replace(from, pattern.size(), replacement);
    from += replacement.size();
  }
}

std::string& rightTrim(std::string& text, const std::string& set) {
  // npos + 1 is 0: with nothing to keep, everything goes.
  text.erase(text.find_last_not_of(set) + 1);
  return text;
}
