// SPDX-License-Identifier: MIT
//
// The string functions against the plain algorithms that they stand for.

#include "qorutil/strings.h"

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/plain_strings.h"

namespace {

constexpr int rounds = 3000;

class StringsRandom : public testing::Test {
 protected:
  std::size_t upTo(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit)(random);
  }

  std::string text(std::size_t length, const std::string& alphabet) {
    std::string result(length, ' ');
    for (char& byte : result) {
      byte = alphabet[upTo(alphabet.size() - 1)];
    }
    return result;
  }

  // Mostly short.
  std::size_t length() { return upTo(9) == 0 ? upTo(5000) : upTo(40); }

 private:
  std::mt19937 random{20261121};
};

TEST_F(StringsRandom, SplitIsThePlainSplit) {
  for (int i = 0; i < rounds; ++i) {
    const std::string line = text(length(), "ab,,\xFF");
    std::vector<std::string> expected{"kept"};
    for (const std::string& field : plainSplit(line, ',')) {
      expected.push_back(field);
    }
    std::vector<std::string> fields{"kept"};
    split(line, ',', fields);
    ASSERT_EQ(fields, expected) << line;
  }
}

TEST_F(StringsRandom, TokenizeIsThePlainTokenize) {
  const std::string alphabet("abc \t\n\v\f\r\x85\xA0\xFF\0", 13);
  for (int i = 0; i < rounds; ++i) {
    const std::string line = text(length(), alphabet);
    std::vector<std::string> expected{"kept"};
    for (const std::string& word : plainTokenize(line)) {
      expected.push_back(word);
    }
    std::vector<std::string> words{"kept"};
    tokenize(line, words);
    ASSERT_EQ(words, expected) << line;
  }
}

TEST_F(StringsRandom, StrReplaceIsThePlainReplace) {
  for (int i = 0; i < rounds; ++i) {
    const std::string before = text(length(), "aab");
    const std::string pattern = text(1 + upTo(3), "aab");
    const std::string replacement = text(upTo(5), "aabc");
    std::string after = before;
    strReplace(after, pattern, replacement);
    ASSERT_EQ(after, plainReplace(before, pattern, replacement))
        << before << " / " << pattern << " / " << replacement;
  }
}

}  // namespace
