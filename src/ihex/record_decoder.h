// SPDX-License-Identifier: MIT
//
// Decodes sound record lines fast. Whatever is not plainly sound is left to
// IntelHexFile::parseLine(), which knows all the odd cases and their messages.

#ifndef QORUTIL_IHEX_RECORD_DECODER_H
#define QORUTIL_IHEX_RECORD_DECODER_H

#include <cstddef>
#include <cstdint>

#include "ihex/record_key.h"

namespace qorutil_internal {

/// The fields of a record in front of its data.
struct RecordHead {
  std::uint8_t count;
  std::uint16_t address;
  std::uint8_t type;
};

/// The characters of the longest record: start code, header, 255 data bytes and
/// checksum.
constexpr std::size_t longestRecord = 11 + 2 * longestData;

/// Decodes the record that begins at `text` and returns the number of its
/// characters; 0 where it is not sound: start code, nothing but hex digits, a
/// checksum that fits. What follows the record is not looked at.
///
/// As many characters as the byte count asks for, 11 and two for each byte,
/// must be readable at `text`, and so many bytes writable at `data`. Where the
/// result is 0, `head` and the bytes at `data` have no meaning.
///
/// This goes 16 digits at a time, with the vector instructions that every
/// processor of the target has: SSE2 on x86-64, NEON on arm64. On other targets
/// and in a build with QORUTIL_NO_VECTORS, it goes digit by digit.
std::size_t decodeRecord(const char* text, RecordHead& head,
                         unsigned char* data);

/// The same, digit by digit everywhere.
std::size_t decodeRecordByDigits(const char* text, RecordHead& head,
                                 unsigned char* data);

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_RECORD_DECODER_H
