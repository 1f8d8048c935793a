// SPDX-License-Identifier: MIT
//
// Any bytes as texts that are split, cut into words, edited and packed, as by
// the plain ways.

#include "qorutil/strings.h"

#include <cctype>
#include <vector>

#include "target.h"
#include "text/plain_strings.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;

void compareLists(const std::string& text, char separator) {
  const Texts fields = plainSplit(text, separator);
  require(split(text, separator) == fields, "split");
  const Texts words = plainTokenize(text);
  require(tokenize(text) == words, "tokenize");

  // What is there already stays in front.
  Texts both{text};
  split(text, separator, both);
  tokenize(text, both);
  Texts expected{text};
  expected.insert(expected.end(), fields.begin(), fields.end());
  expected.insert(expected.end(), words.begin(), words.end());
  require(both == expected, "appended fields and words");
}

void compareEdits(const std::string& text, const std::string& pattern,
                  const std::string& replacement) {
  std::string edited = text;
  if (!pattern.empty()) {
    require(&strReplace(edited, pattern, replacement) == &edited &&
                edited == plainReplace(text, pattern, replacement),
            "strReplace");
  }
  std::string expected = text;
  while (!expected.empty() &&
         pattern.find(expected.back()) != std::string::npos) {
    expected.pop_back();
  }
  edited = text;
  require(&rightTrim(edited, pattern) == &edited && edited == expected,
          "rightTrim");

  std::string lower = text;
  for (char& byte : lower) {
    byte = static_cast<char>(std::tolower(static_cast<signed char>(byte)));
  }
  require(lcstring(text) == lower, "lcstring");
  require(lcstring(text.c_str()) == lower.c_str(), "lcstring up to a NUL");
}

void comparePacked(const std::string& text, const std::string& before) {
  const Bytes front(before.begin(), before.end());
  const Bytes source(text.begin(), text.end());
  const auto expected = [&](const Bytes& bytes, bool two) {
    Bytes all = front;
    if (two) {
      all.push_back(static_cast<unsigned char>(bytes.size() / 256 % 256));
    }
    all.push_back(static_cast<unsigned char>(bytes.size() % 256));
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
  };
  const auto packed = [&](const auto& push, const auto& from) {
    Bytes bytes = front;
    push(bytes, from);
    return bytes;
  };
  const auto one = [](Bytes& bytes, const auto& from) { push1(bytes, from); };
  const auto two = [](Bytes& bytes, const auto& from) { push2(bytes, from); };
  const std::string cut = text.c_str();
  const Bytes cutSource(cut.begin(), cut.end());
  require(packed(one, text) == expected(source, false) &&
              packed(one, source) == expected(source, false) &&
              packed(one, text.c_str()) == expected(cutSource, false),
          "push1");
  require(packed(two, text) == expected(source, true) &&
              packed(two, source) == expected(source, true) &&
              packed(two, text.c_str()) == expected(cutSource, true),
          "push2");
  Bytes itself = front;
  push1(itself, itself);
  push2(itself, itself);
  require(itself.size() == 4 * front.size() + 4, "push of itself");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  Input input(data, size);
  const auto separator = static_cast<char>(input.byte());
  const std::string pattern = input.text(7);
  const std::string replacement = input.text(15);
  const std::string text = input.rest();
  compareLists(text, separator);
  compareEdits(text, pattern, replacement);
  comparePacked(text, replacement);
  return 0;
}
