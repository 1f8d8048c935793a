// SPDX-License-Identifier: MIT
//
// How qorhex decodes a record, held against the plain rule.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reading/record.h"
#include "support/hexrecord.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct decoded_t {
  std::size_t length;
  recordHead_t head;
  Bytes data;
};

// Returns what both forms find in `text`, which lies where the sanitizer
// notices a read beyond its end, and for the fast one as far as that may read.
decoded_t commonResult(const std::string& text) {
  const std::vector<char> exact(text.begin(), text.end());
  decoded_t plain{0, {}, Bytes(recordRoom)};
  plain.length = decodeRecordReference(exact.data(), exact.size(), plain.head,
                                       plain.data.data());
  std::vector<char> roomy(exact);
  roomy.resize(std::max(roomy.size(), textRoom), '\n');
  decoded_t fast{0, {}, Bytes(recordRoom)};
  fast.length = decodeRecord(roomy.data(), fast.head, fast.data.data());
  EXPECT_EQ(fast.length, plain.length) << text;
  if (plain.length != 0) {
    plain.data.resize(plain.head.size);
    fast.data.resize(fast.head.size);
    EXPECT_EQ(fast.head.size, plain.head.size) << text;
    EXPECT_EQ(fast.head.offset, plain.head.offset) << text;
    EXPECT_EQ(fast.head.type, plain.head.type) << text;
    EXPECT_EQ(fast.data, plain.data) << text;
  }
  return plain;
}

std::size_t commonLength(const std::string& text) {
  return commonResult(text).length;
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

TEST(DecodeRecord, RecordsOfAllSizesAreFoundWhateverStandsBehind) {
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

TEST(DecodeRecord, ACutRecordIsNone) {
  std::mt19937 generator(2);
  for (const std::size_t size : {0U, 1U, 11U, 16U, 32U, 255U}) {
    const std::string text = hexRecord(0, 0, randomBytes(generator, size));
    for (std::size_t length = 0; length < text.size(); ++length) {
      EXPECT_EQ(commonLength(text.substr(0, length)), 0U) << length;
      EXPECT_EQ(commonLength(text.substr(0, length) + behind), 0U) << length;
    }
  }
}

// Every byte count with every length up to three bytes around its own.
TEST(DecodeRecord, ALengthThatTheByteCountDoesNotGiveIsToldWhereItEnds) {
  std::mt19937 generator(5);
  for (std::size_t size = 0; size < 256; ++size) {
    const std::string record = hexRecord(0, 0, randomBytes(generator, size));
    const std::string ending =
        " characters instead of " + std::to_string(record.size()) + "; ";
    for (std::size_t length = record.size() - 6; length <= record.size() + 6;
         ++length) {
      std::string text = record;
      text.resize(length, '0');
      const bool cut = length < record.size();
      EXPECT_EQ(commonLength(text), cut ? 0 : record.size());
      if (length == record.size()) {
        continue;
      }
      const damage_t damage = describeDamage(bodyOf(text));
      EXPECT_EQ(damage.at, std::min(length, record.size())) << text;
      EXPECT_EQ(damage.text,
                (cut ? "shorter than its byte count says, "
                     : "longer than its byte count says, ") +
                    std::to_string(length) + ending +
                    (cut ? "the line was cut, or its byte count is wrong"
                         : "lines were joined, or the byte count is wrong"));
    }
  }
}

TEST(DecodeRecord, EveryCharacterAtEveryPlaceIsJudgedByTheRule) {
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

TEST(DecodeRecord, EveryOtherChecksumIsWrong) {
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

TEST(DecodeRecord, RandomChangesAreJudgedByTheRule) {
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

TEST(DecodeRecord, FieldsAndDataAreThoseOfTheText) {
  const std::string text = ":04ABCD05deadBEEF47";
  const decoded_t decoded = commonResult(text);
  ASSERT_EQ(decoded.length, text.size());
  EXPECT_EQ(decoded.head.size, 4U);
  EXPECT_EQ(decoded.head.offset, 0xABCDU);
  EXPECT_EQ(decoded.head.type, 5U);
  EXPECT_EQ(decoded.data, (Bytes{0xDE, 0xAD, 0xBE, 0xEF}));
}

TEST(DecodeRecord, DataOfAllSizesArriveInTheirOrder) {
  for (std::size_t size = 0; size < 256; ++size) {
    Bytes data(size);
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(size));
    const decoded_t decoded = commonResult(hexRecord(0, 0x1234, data) + behind);
    EXPECT_EQ(decoded.data, data);
    EXPECT_EQ(decoded.head.size, size);
  }
}

}  // namespace
