// SPDX-License-Identifier: MIT
//
// The check of a record that qorhex makes, held against the plain rule.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reading/record.h"
#include "support/hexrecord.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Returns what both forms find in `text`, which lies where the sanitizer
// notices a read beyond its end.
std::size_t commonLength(const std::string& text) {
  const std::vector<char> exact(text.begin(), text.end());
  const std::size_t length = soundRecordReference(exact.data(), exact.size());
  EXPECT_EQ(soundRecord(exact.data(), exact.size()), length) << text;
  return length;
}

Bytes randomBytes(std::mt19937& generator, std::size_t size) {
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(),
                [&] { return static_cast<unsigned char>(generator()); });
  return bytes;
}

std::string lowerCase(std::string text) {
  for (char& character : text) {
    character = static_cast<char>(std::tolower(character));
  }
  return text;
}

// Takes the vectors to the end of the record.
const std::string behind = "\n:10000000 and more than sixteen characters\n";

TEST(SoundRecord, RecordsOfAllSizesAreFoundWhateverStandsBehind) {
  std::mt19937 generator(1);
  for (std::size_t size = 0; size < 256; ++size) {
    const std::string text = hexRecord(static_cast<unsigned>(size), 0x89AB,
                                       randomBytes(generator, size));
    ASSERT_EQ(text.size(), recordFrame + 2 * size);
    for (const std::string& tail :
         {std::string(), std::string("\n"), behind, behind.substr(0, 15),
          behind.substr(0, 16), behind.substr(0, 17), std::string(20, 'F')}) {
      EXPECT_EQ(commonLength(text + tail), text.size());
      EXPECT_EQ(commonLength(lowerCase(text) + tail), text.size());
    }
  }
}

TEST(SoundRecord, ACutRecordIsNone) {
  std::mt19937 generator(2);
  for (const std::size_t size : {0U, 1U, 11U, 16U, 32U, 255U}) {
    const std::string text = hexRecord(0, 0, randomBytes(generator, size));
    for (std::size_t length = 0; length < text.size(); ++length) {
      EXPECT_EQ(commonLength(text.substr(0, length)), 0U) << length;
      EXPECT_EQ(commonLength(text.substr(0, length) + behind), 0U) << length;
    }
  }
}

TEST(SoundRecord, EveryCharacterAtEveryPlaceIsJudgedByTheRule) {
  std::mt19937 generator(3);
  for (const std::size_t size : {0U, 1U, 2U, 11U, 16U, 21U}) {
    const std::string text = hexRecord(0, 0x1234, randomBytes(generator, size));
    for (std::size_t at = 0; at < text.size(); ++at) {
      std::string changed = text + behind;
      int sound = 0;
      for (int value = 0; value < 256; ++value) {
        changed[at] = static_cast<char>(value);
        sound += commonLength(changed) != 0 ? 1 : 0;
      }
      // The character itself, and a letter in the other case.
      EXPECT_EQ(sound, std::isalpha(text[at]) != 0 ? 2 : 1) << at;
    }
  }
}

TEST(SoundRecord, EveryOtherChecksumIsWrong) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text = hexRecord(0, 0xFFF0, Bytes(16, 0xFF)) + behind;
  int sound = 0;
  for (int sum = 0; sum < 256; ++sum) {
    text[41] = digits[sum / 16];
    text[42] = digits[sum % 16];
    sound += commonLength(text) == 43 ? 1 : 0;
  }
  EXPECT_EQ(sound, 1);
}

TEST(SoundRecord, RandomChangesAreJudgedByTheRule) {
  std::mt19937 generator(4);
  constexpr char likely[] = "0123456789ABCDEFabcdef:G`g@/\r\n \x10\x90";
  const auto below = [&](unsigned limit) {
    return static_cast<unsigned>(generator() % limit);
  };
  int sound = 0;
  for (int i = 0; i < 50000; ++i) {
    const std::size_t size = below(8) == 0 ? below(256) : 16;
    std::string text =
        hexRecord(below(6), below(0x10000), randomBytes(generator, size)) +
        behind.substr(0, generator() % behind.size());
    for (unsigned changes = below(4); changes != 0; --changes) {
      text[generator() % text.size()] = likely[below(sizeof likely - 1)];
    }
    sound += commonLength(text) != 0 ? 1 : 0;
  }
  EXPECT_GT(sound, 10000);
  EXPECT_LT(sound, 40000);
}

TEST(SoundRecord, TheFieldsAreThoseOfTheText) {
  const std::string text = ":04ABCD05deadBEEF47";
  ASSERT_EQ(commonLength(text), text.size());
  const record_t record{text.data()};
  EXPECT_EQ(record.size(), 4U);
  EXPECT_EQ(record.offset(), 0xABCDU);
  EXPECT_EQ(record.type(), 5U);
  EXPECT_EQ(record.word(0), 0xDEADU);
  EXPECT_EQ(record.word(2), 0xBEEFU);
  Bytes bytes(3);
  decodeBytes(record.digits(1), bytes.size(), bytes.data());
  EXPECT_EQ(bytes, (Bytes{0xAD, 0xBE, 0xEF}));
}

}  // namespace
