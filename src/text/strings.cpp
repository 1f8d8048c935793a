// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <utility>

namespace {

// Bytes reach the character classes as signed values on every target, the ones
// where plain char is unsigned included.
bool isSpace(char byte) {
  return std::isspace(static_cast<signed char>(byte)) != 0;
}

char toLower(char byte) {
  return static_cast<char>(std::tolower(static_cast<signed char>(byte)));
}

// Makes room for `count` more elements, growing as push_back() would, so that
// many small calls stay linear.
void reserveMore(std::vector<std::string>& list, std::size_t count) {
  if (list.capacity() - list.size() < count) {
    list.reserve(std::max(list.size() + count, 2 * list.capacity()));
  }
}

// Where the text grows, in one pass from the first occurrence, which is at
// `found`.
std::string& replaceGrowing(std::string& text, const std::string& pattern,
                            const std::string& replacement, std::size_t found) {
  std::string result;
  result.reserve(text.size() + text.size() / 2);
  std::size_t read = 0;
  do {
    result.append(text, read, found - read);
    result.append(replacement);
    read = found + pattern.size();
    found = text.find(pattern, read);
  } while (found != std::string::npos);
  result.append(text, read);
  text = std::move(result);
  return text;
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
  reserveMore(fields, 1 + static_cast<std::size_t>(
                              std::count(text.begin(), text.end(), separator)));
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
  const std::size_t size = text.size();
  std::size_t end = 0;
  for (;;) {
    std::size_t start = end;
    while (start < size && isSpace(text[start])) {
      ++start;
    }
    if (start == size) {
      return;
    }
    end = start + 1;
    while (end < size && !isSpace(text[end])) {
      ++end;
    }
    words.emplace_back(text, start, end - start);
  }
}

std::vector<std::string> tokenize(const std::string& text) {
  std::vector<std::string> words;
  tokenize(text, words);
  return words;
}

std::string& strReplace(std::string& text, const std::string& pattern,
                        const std::string& replacement) {
  std::size_t found = text.find(pattern);
  if (found == std::string::npos) {
    return text;
  }
  if (replacement.size() > pattern.size()) {
    return replaceGrowing(text, pattern, replacement, found);
  }
  // The edited text is never longer than what was read of the old one, so it
  // is written over it.
  char* const front = text.data();
  std::size_t read = 0;
  std::size_t written = 0;
  do {
    const std::size_t kept = found - read;
    if (written != read) {
      std::memmove(front + written, front + read, kept);
    }
    replacement.copy(front + written + kept, replacement.size());
    written += kept + replacement.size();
    read = found + pattern.size();
    found = text.find(pattern, read);
  } while (found != std::string::npos);
  text.erase(written, read - written);
  return text;
}

std::string& rightTrim(std::string& text, const std::string& set) {
  // npos + 1 is 0: with nothing to keep, everything goes.
  text.erase(text.find_last_not_of(set) + 1);
  return text;
}
