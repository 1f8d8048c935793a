// SPDX-License-Identifier: MIT

#include "record.h"

#include <algorithm>
#include <array>
#include <sstream>

#include <qorutil/formatting.h>

#include "messages.h"

namespace {

// What stands for a character that is no hex digit: no bit of a byte's value.
constexpr std::uint16_t noDigit = 0x100;

constexpr std::array<std::uint16_t, 256> makeDigitTable() {
  std::array<std::uint16_t, 256> table{};
  for (std::uint16_t& value : table) {
    value = noDigit;
  }
  for (std::uint16_t i = 0; i < 16; ++i) {
    table[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
    table[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
  }
  return table;
}

constexpr std::array<std::uint16_t, 256> digits = makeDigitTable();

// The byte that two characters stand for, with noDigit (or its multiple) added
// when one of them is no digit.
unsigned pairValue(const char* text) {
  return digits[static_cast<unsigned char>(text[0])] * 16U |
         digits[static_cast<unsigned char>(text[1])];
}

constexpr std::size_t shownOfLongLine = 80;

}  // namespace

bool decodeRecord(const char* text, std::size_t size, record_t& record) {
  if (size < recordFrame || size > maxRecordText || text[0] != ':') {
    return false;
  }
  const std::size_t count = pairValue(text + 1);
  if (size != recordFrame + 2 * count) {
    return false;  // so is a count that is no number: it is above 255
  }
  unsigned seen = 0;
  unsigned sum = 0;
  for (std::size_t i = 0; i < count + 5; ++i) {
    const unsigned value = pairValue(text + 1 + 2 * i);
    record.bytes[i] = static_cast<unsigned char>(value);
    seen |= value;
    sum += value;
  }
  return seen < noDigit && (sum & 0xFFU) == 0;
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
    return digits[static_cast<unsigned char>(character)] == noDigit;
  });
  if (bad != end) {
    return "character " + std::to_string(bad - text + 1) + " is no hex digit";
  }
  if (size < recordFrame) {
    return "too short for a record, " + countText(size, "character") +
           " instead of at least " + std::to_string(recordFrame);
  }
  const std::size_t expected =
      recordFrame + 2 * std::size_t{pairValue(text + 1)};
  if (size != expected) {
    return std::string(size < expected ? "shorter" : "longer") +
           " than its byte count says, " + std::to_string(size) +
           " characters instead of " + std::to_string(expected);
  }
  unsigned sum = 0;
  for (const char* pair = text + 1; pair != end - 2; pair += 2) {
    sum += pairValue(pair);
  }
  return "wrong checksum " + hexText(pairValue(end - 2), 2) +
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
