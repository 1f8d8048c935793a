// SPDX-License-Identifier: MIT
//
// The checksum that zip, gzip and many boot loaders use.

#ifndef QORHEX_CRC32_H
#define QORHEX_CRC32_H

#include <cstddef>
#include <cstdint>

/// The CRC-32 of bytes that come in pieces, as zlib's crc32() has it:
/// polynomial 0x04c11db7, bits reflected, all bits inverted before and after.
///
///     Crc32 checksum;
///     checksum.add(bytes, 9);  // "123456789"
///     checksum.value();        // 0xcbf43926
class Crc32 {
 public:
  /// Goes on with the `size` bytes at `data`.
  void add(const unsigned char* data, std::size_t size);

  /// Returns the checksum of all bytes up to here; 0 of none.
  std::uint32_t value() const { return ~state; }

 private:
  std::uint32_t state{0xFFFFFFFF};
};

#endif  // QORHEX_CRC32_H
