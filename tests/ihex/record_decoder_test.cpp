// SPDX-License-Identifier: MIT
//
// Both decoders against each other and against strtol, on texts that end where
// the record ends.

#include "ihex/record_decoder.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/hexrecord.h"

namespace {

using qorutil_internal::RecordHead;
using Decoder = std::size_t (*)(const char*, RecordHead&, unsigned char*);

struct Decoded {
  std::size_t length;
  unsigned count;
  unsigned address;
  unsigned type;
  std::vector<unsigned char> data;
};

bool operator==(const Decoded& a, const Decoded& b) {
  return a.length == b.length && a.count == b.count && a.address == b.address &&
         a.type == b.type && a.data == b.data;
}

// Decodes a copy on the heap without a terminator and with just the room that
// the record asks for, where a sanitizer sees a step too far.
Decoded decoded(Decoder decode, const std::string& text, std::size_t count) {
  const auto copy = std::make_unique<char[]>(text.size());
  text.copy(copy.get(), text.size());
  const auto data = std::make_unique<unsigned char[]>(count);
  RecordHead head{};
  const std::size_t length = decode(copy.get(), head, data.get());
  if (length == 0) {
    return {0, 0, 0, 0, {}};
  }
  return {length,
          head.count,
          head.address,
          head.type,
          {data.get(), data.get() + head.count}};
}

// What strtol makes of a text of digits; the record is not sound where there is
// anything else in it.
Decoded expected(const std::string& text) {
  const Decoded bad{0, 0, 0, 0, {}};
  if (text[0] != ':' || text.find_first_not_of("0123456789abcdefABCDEF", 1) !=
                            std::string::npos) {
    return bad;
  }
  std::vector<unsigned char> bytes;
  unsigned sum = 0;
  for (std::size_t i = 1; i < text.size(); i += 2) {
    bytes.push_back(static_cast<unsigned char>(
        std::strtol(text.substr(i, 2).c_str(), nullptr, 16)));
    sum += bytes.back();
  }
  if (sum % 256 != 0) {
    return bad;
  }
  return {text.size(),
          bytes[0],
          bytes[1] * 256U + bytes[2],
          bytes[3],
          {bytes.begin() + 4, bytes.end() - 1}};
}

class RecordDecoder : public testing::TestWithParam<Decoder> {
 protected:
  unsigned upTo(unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit)(random);
  }

  // A sound record with digits in both cases.
  std::string record(std::size_t count) {
    std::vector<unsigned char> data(count);
    for (unsigned char& byte : data) {
      byte = static_cast<unsigned char>(upTo(255));
    }
    std::string text = hexRecord(upTo(255), upTo(0xFFFF), data);
    for (char& character : text) {
      if (character >= 'A' && upTo(1) == 0) {
        character = static_cast<char>(character - 'A' + 'a');
      }
    }
    return text;
  }

  void expectAsExpected(const std::string& text, std::size_t count) {
    const Decoded got = decoded(GetParam(), text, count);
    EXPECT_TRUE(got == expected(text)) << text;
  }

 private:
  std::mt19937 random{1};
};

TEST_P(RecordDecoder, ReadsSoundRecordsOfEveryLength) {
  for (std::size_t count = 0; count < 256; ++count) {
    const std::string text = record(count);
    ASSERT_EQ(decoded(GetParam(), text, count).length, 11 + 2 * count);
    expectAsExpected(text, count);
  }
}

TEST_P(RecordDecoder, RefusesEveryOtherCharacterInEveryPlace) {
  const std::string sound = record(35);
  for (std::size_t place = 3; place < sound.size(); ++place) {
    for (int character = 0; character < 256; ++character) {
      std::string text = sound;
      text[place] = static_cast<char>(character);
      expectAsExpected(text, 35);
    }
  }
}

TEST_P(RecordDecoder, RefusesEveryOtherStartCode) {
  const std::string sound = record(4);
  for (int character = 0; character < 256; ++character) {
    std::string text = sound;
    text[0] = static_cast<char>(character);
    expectAsExpected(text, 4);
  }
}

TEST_P(RecordDecoder, RefusesACountThatIsNoNumber) {
  for (const char* count : {"G0", "0G", "-1", "+1", " 1", "0x"}) {
    std::string text = record(255);
    text.replace(1, 2, count);
    EXPECT_EQ(decoded(GetParam(), text, 255).length, 0U) << count;
  }
}

TEST_P(RecordDecoder, RefusesEveryWrongChecksum) {
  const std::string sound = record(16);
  for (int checksum = 0; checksum < 256; ++checksum) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text = sound;
    text[text.size() - 2] = digits[checksum / 16];
    text[text.size() - 1] = digits[checksum % 16];
    expectAsExpected(text, 16);
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, RecordDecoder,
                         testing::Values(qorutil_internal::decodeRecordByDigits,
                                         qorutil_internal::decodeRecord),
                         [](const auto& tested) {
                           return tested.index == 0 ? "ByDigits" : "InBlocks";
                         });

// Whether a decoder goes by blocks of digits: then it gives up behind those,
// where it meets a character that is no digit, and leaves the last byte alone.
bool goesByBlocks(Decoder decode) {
  std::string text = hexRecord(0, 0, std::vector<unsigned char>(9, 1));
  text[9] = 'x';
  unsigned char data[9];
  data[8] = 0x77;
  RecordHead head{};
  EXPECT_EQ(decode(text.data(), head, data), 0U);
  return data[8] == 0x77;
}

TEST(RecordDecoders, GoByBlocksWhereThereAreVectors) {
#if (defined(__SSE2__) || defined(__aarch64__)) && !defined(QORUTIL_NO_VECTORS)
  EXPECT_TRUE(goesByBlocks(qorutil_internal::decodeRecord));
#else
  EXPECT_FALSE(goesByBlocks(qorutil_internal::decodeRecord));
#endif
  EXPECT_FALSE(goesByBlocks(qorutil_internal::decodeRecordByDigits));
}

}  // namespace
