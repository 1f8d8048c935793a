// SPDX-License-Identifier: MIT
//
// One line of Intel HEX text: its bytes, or what is wrong with it.

#ifndef QORHEX_RECORD_H
#define QORHEX_RECORD_H

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

/// The bytes of one sound record.
struct record_t {
  /// Byte count, offset (high, low), type, data and checksum, as in the text.
  unsigned char bytes[maxRecordText / 2];

  /// The number of data bytes.
  std::size_t size() const { return bytes[0]; }

  /// The 16-bit load offset.
  std::uint32_t offset() const { return bytes[1] * 256U + bytes[2]; }

  /// The record type.
  unsigned type() const { return bytes[3]; }

  /// The data bytes.
  const unsigned char* data() const { return bytes + 4; }

  /// The 16-bit number at position `at` of the data, high byte first.
  std::uint32_t word(std::size_t at) const {
    return data()[at] * 256U + data()[at + 1];
  }
};

/// Reads the `size` characters at `text` into `record` and tells whether they
/// are a sound record: start code, hex digits of either case, as many as the
/// byte count says, and the right checksum. The type is not looked at.
bool decodeRecord(const char* text, std::size_t size, record_t& record);

/// Says in words what makes decodeRecord() reject the `size` characters at
/// `text`, which are at least one.
std::string describeDamage(const char* text, std::size_t size);

/// Returns the text for a message: in quotes, a dot for what cannot be printed,
/// and of a text longer than any record the beginning only.
std::string quoteText(const char* text, std::size_t size);

#endif  // QORHEX_RECORD_H
