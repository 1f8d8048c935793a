// SPDX-License-Identifier: MIT
//
// One line of Intel HEX text: its fields, or what is wrong with it.

#ifndef QORHEX_RECORD_H
#define QORHEX_RECORD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// The characters of a record besides its data: start code, byte count, offset,
/// type and checksum.
constexpr std::size_t recordFrame = 11;

/// The most data bytes of a record.
constexpr std::size_t maxRecordData = 255;

/// The length of the longest record.
constexpr std::size_t maxRecordText = recordFrame + 2 * maxRecordData;

/// What stands for a character that is no hex digit: no bit of a byte's value.
constexpr std::uint16_t noHexDigit = 0x100;

constexpr std::array<std::uint16_t, 256> makeHexDigits() {
  std::array<std::uint16_t, 256> table{};
  for (std::uint16_t& value : table) {
    value = noHexDigit;
  }
  for (std::uint16_t i = 0; i < 16; ++i) {
    table[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
    table[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
  }
  return table;
}

/// The value of each character as a hex digit.
inline constexpr std::array<std::uint16_t, 256> hexDigits = makeHexDigits();

/// Returns the byte that the two characters at `text` stand for, and at least
/// noHexDigit when one of them is no digit.
inline unsigned hexByte(const char* text) {
  return hexDigits[static_cast<unsigned char>(text[0])] * 16U |
         hexDigits[static_cast<unsigned char>(text[1])];
}

/// A sound record. Its fields are decoded where they stand in the text.
struct record_t {
  /// The start code, with the whole record behind it.
  const char* text;

  /// The number of data bytes.
  std::size_t size() const { return hexByte(text + 1); }

  /// The 16-bit load offset.
  std::uint32_t offset() const {
    return hexByte(text + 3) * 256U + hexByte(text + 5);
  }

  /// The record type.
  unsigned type() const { return hexByte(text + 7); }

  /// The digits of the data byte at position `at`.
  const char* digits(std::size_t at) const { return text + 9 + 2 * at; }

  /// The 16-bit number at position `at` of the data, high byte first.
  std::uint32_t word(std::size_t at) const {
    return hexByte(digits(at)) * 256U + hexByte(digits(at + 1));
  }
};

/// Returns the length of the sound record at the beginning of the `size`
/// characters at `text`: start code, hex digits of either case, as many as the
/// byte count says, and the right checksum. 0 when there is none. The type and
/// what stands behind the record are not looked at.
std::size_t soundRecord(const char* text, std::size_t size);

/// The same, digit by digit: the rule that soundRecord() follows.
std::size_t soundRecordReference(const char* text, std::size_t size);

/// Decodes the `count` pairs of hex digits at `digits` into `bytes`.
void decodeBytes(const char* digits, std::size_t count, unsigned char* bytes);

/// Says in words why the `size` characters at `text`, at least one, are not a
/// sound record and nothing else.
std::string describeDamage(const char* text, std::size_t size);

/// Returns the text for a message: in quotes, a dot for what cannot be printed,
/// and of a text longer than any record the beginning only.
std::string quoteText(const char* text, std::size_t size);

#endif  // QORHEX_RECORD_H
