// SPDX-License-Identifier: MIT

#include "reading/record.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include <qorutil/formatting.h>

#include "telling/messages.h"

// Elsewhere the compiler would take the vectors apart again.
#if (defined(__SSE2__) || defined(__ARM_NEON)) && \
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && !defined(QORUTIL_NO_VECTORS)
#define VECTORS_PAY 1
#endif

namespace {

constexpr std::size_t shownOfLongLine = 80;

#ifdef VECTORS_PAY

using characters_t = unsigned char __attribute__((vector_size(16)));

// From 16 - n on: a mask for the first n characters.
constexpr unsigned char tailMasks[32] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0xFF, 0xFF, 0xFF, 0xFF};

characters_t loadCharacters(const void* text) {
  characters_t characters;
  std::memcpy(&characters, text, sizeof characters);
  return characters;
}

// The digits of a record, 16 at a time: whether they are all digits, and the
// sum of their bytes. The first digit of every byte lies in an even lane.
class DigitSums {
 public:
  // Adds the `characters` that `mask` selects.
  void add(characters_t characters, characters_t mask) {
    const characters_t decimal = characters - '0';
    const characters_t letter = (characters | 0x20) - 'a';
    const auto isDecimal = reinterpret_cast<characters_t>(decimal < 10);
    const auto isLetter = reinterpret_cast<characters_t>(letter < 6);
    strange |= mask & ~(isDecimal | isLetter);
    // 'A' and 'a' are 0x41 and 0x61.
    sums += mask & ((characters & 0xF) + (isLetter & 9));
  }

  // Tells whether all were digits, and their bytes have the sum 0.
  bool areSound() const {
    std::uint64_t halves[2];
    std::memcpy(halves, &strange, sizeof halves);
    if ((halves[0] | halves[1]) != 0) {
      return false;
    }
    std::memcpy(halves, &sums, sizeof halves);
    const std::uint64_t bytes = bytesOf(halves[0]) + bytesOf(halves[1]);
    return (bytes * 0x0001000100010001 >> 48U & 0xFFU) == 0;
  }

 private:
  // The four bytes whose first digits lie in the even lanes.
  static std::uint64_t bytesOf(std::uint64_t lanes) {
    constexpr std::uint64_t even = 0x00FF00FF00FF00FF;
    return (lanes & even) * 16 + (lanes >> 8U & even);
  }

  characters_t strange{};
  characters_t sums{};
};

#endif

}  // namespace

std::size_t soundRecordReference(const char* text, std::size_t size) {
  if (size < recordFrame || text[0] != ':') {
    return 0;
  }
  const unsigned count = hexByte(text + 1);
  const std::size_t length = recordFrame + 2 * std::size_t{count};
  if (count >= noHexDigit || size < length) {
    return 0;
  }
  unsigned seen = 0;
  unsigned sum = 0;
  for (std::size_t at = 1; at < length; at += 2) {
    const unsigned value = hexByte(text + at);
    seen |= value;
    sum += value;
  }
  return seen < noHexDigit && (sum & 0xFFU) == 0 ? length : 0;
}

#ifdef VECTORS_PAY

std::size_t soundRecord(const char* text, std::size_t size) {
  if (size < recordFrame || text[0] != ':') {
    return 0;
  }
  const std::size_t length = recordFrame + 2 * std::size_t{hexByte(text + 1)};
  // The last digits are read with what stands behind them.
  if (size < length + sizeof(characters_t)) {
    return soundRecordReference(text, size);
  }
  DigitSums sums;
  std::size_t left = length - 1;
  for (++text; left >= sizeof(characters_t); left -= sizeof(characters_t)) {
    sums.add(loadCharacters(text), characters_t{} - 1);
    text += sizeof(characters_t);
  }
  sums.add(loadCharacters(text), loadCharacters(tailMasks + 16 - left));
  return sums.areSound() ? length : 0;
}

#else

std::size_t soundRecord(const char* text, std::size_t size) {
  return soundRecordReference(text, size);
}

#endif

void decodeBytes(const char* digits, std::size_t count, unsigned char* bytes) {
  for (std::size_t i = 0; i < count; ++i) {
    bytes[i] = static_cast<unsigned char>(hexByte(digits + 2 * i));
  }
}

std::string describeDamage(const char* text, std::size_t size) {
  if (text[0] != ':') {
    return "no start code ':' at the beginning";
  }
  if (size > maxRecordText) {
    return "longer than any record";
  }
  const char* const end = text + size;
  const char* const bad = std::find_if(text + 1, end, [](char character) {
    return hexDigits[static_cast<unsigned char>(character)] == noHexDigit;
  });
  if (bad != end) {
    return "character " + std::to_string(bad - text + 1) + " is no hex digit";
  }
  if (size < recordFrame) {
    return "too short for a record, " + countText(size, "character") +
           " instead of at least " + std::to_string(recordFrame);
  }
  const std::size_t expected = recordFrame + 2 * std::size_t{hexByte(text + 1)};
  if (size != expected) {
    return std::string(size < expected ? "shorter" : "longer") +
           " than its byte count says, " + std::to_string(size) +
           " characters instead of " + std::to_string(expected);
  }
  unsigned sum = 0;
  for (const char* pair = text + 1; pair != end - 2; pair += 2) {
    sum += hexByte(pair);
  }
  return "wrong checksum " + hexText(hexByte(end - 2), 2) +
         ", the bytes give " + hexText((0x100 - (sum & 0xFFU)) & 0xFFU, 2);
}

std::string quoteText(const char* text, std::size_t size) {
  const bool tooLong = size > maxRecordText;
  std::ostringstream quoted;
  quoted << '"';
  printPrintable(quoted, {text, tooLong ? shownOfLongLine : size});
  quoted << (tooLong ? "\"..." : "\"");
  return quoted.str();
}
