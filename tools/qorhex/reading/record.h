// SPDX-License-Identifier: MIT
//
// One line of Intel HEX text: its fields and data, or what is wrong with it.
//
// The library keeps its decoder to itself, and parseLine() takes what
// only the checksum notices. The tool has to tell every damage at its place and
// keeps to the public headers; hence a decoder of its own.

#ifndef QORHEX_RECORD_H
#define QORHEX_RECORD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

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

/// The fields of a record in front of its data.
struct recordHead_t {
  /// The number of data bytes.
  std::uint8_t size;
  /// The 16-bit load offset.
  std::uint16_t offset;
  /// The record type.
  std::uint8_t type;
};

/// How many characters decodeRecord() may read.
constexpr std::size_t textRoom = maxRecordText + 16;

/// How many bytes decodeRecord() may write.
constexpr std::size_t recordRoom = maxRecordData + 16;

/// Decodes the sound record at the beginning of `text` and returns its length:
/// start code, hex digits of either case, as many as the byte count says, and
/// the right checksum. 0 when there is none; `head` and `data` have then no
/// meaning. The type and what stands behind the record are not looked at.
///
/// `textRoom` characters are read at `text`, whatever they are, and
/// `recordRoom` bytes written at `data`.
std::size_t decodeRecord(const char* text, recordHead_t& head,
                         unsigned char* data);

/// The same for the `size` characters at `text`, of which no more are read,
/// digit by digit: the rule that decodeRecord() follows.
std::size_t decodeRecordReference(const char* text, std::size_t size,
                                  recordHead_t& head, unsigned char* data);

/// What a line holds between the blanks around it; at least one character.
struct lineBody_t {
  /// The text, of a long one the beginning alone: as much as the longest record
  /// at least.
  std::string_view head;
  /// The number of characters.
  std::uint64_t size;
  /// The position of the first character behind the start code that is no hex
  /// digit; `size` without one.
  std::uint64_t strange;
};

/// Returns the body for a text that is at hand as a whole.
lineBody_t bodyOf(std::string_view text);

/// What is wrong with a line, and the position in its body where that is.
struct damage_t {
  std::uint64_t at;
  std::string text;
};

/// Says why `body` is not a sound record and nothing else.
damage_t describeDamage(const lineBody_t& body);

/// Tells whether a damaged line may have been a record that says where data
/// goes: it has a start code, and its type is 02, 04 or not to be read.
bool mayBeAddress(const lineBody_t& body);

#endif  // QORHEX_RECORD_H
