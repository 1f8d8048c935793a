// SPDX-License-Identifier: MIT
//
// The values of hexadecimal digits.

#ifndef QORUTIL_IHEX_HEX_DIGITS_H
#define QORUTIL_IHEX_HEX_DIGITS_H

#include <array>
#include <cstdint>

namespace qorutil_internal {

/// What hexDigits holds for a character that is no hex digit: bits that no
/// value of a digit or of a pair of digits has.
constexpr std::uint16_t noHexDigit = 0x100;

constexpr std::array<std::uint16_t, 256> makeHexDigits() {
  std::array<std::uint16_t, 256> values{};
  for (auto& value : values) {
    value = noHexDigit;
  }
  for (unsigned i = 0; i < 10; ++i) {
    values['0' + i] = static_cast<std::uint16_t>(i);
  }
  for (unsigned i = 0; i < 6; ++i) {
    values['a' + i] = values['A' + i] = static_cast<std::uint16_t>(10 + i);
  }
  return values;
}

/// The value of every character as a hex digit.
inline constexpr std::array<std::uint16_t, 256> hexDigits = makeHexDigits();

/// The value of the pair of digits at `text`; noHexDigit or more where one of
/// them is no digit.
inline unsigned hexPair(const char* text) {
  const unsigned high = hexDigits[static_cast<unsigned char>(text[0])];
  const unsigned low = hexDigits[static_cast<unsigned char>(text[1])];
  return high << 4 | low;
}

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_HEX_DIGITS_H
