// SPDX-License-Identifier: MIT

#include "image/crc32.h"

#include <array>

namespace {

// So many bytes are taken in one step.
constexpr std::size_t stepSize = 8;

// tables[n][b] is what byte b does to the checksum with n zero bytes behind it.
using tables_t = std::array<std::array<std::uint32_t, 256>, stepSize>;

constexpr tables_t makeTables() {
  constexpr std::uint32_t reflectedPolynomial = 0xEDB88320;
  tables_t tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value >> 1U) ^ ((value & 1U) != 0 ? reflectedPolynomial : 0);
    }
    tables[0][byte] = value;
  }
  for (std::size_t zeros = 1; zeros < stepSize; ++zeros) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[zeros - 1][byte];
      tables[zeros][byte] = (before >> 8U) ^ tables[0][before & 0xFFU];
    }
  }
  return tables;
}

constexpr tables_t tables = makeTables();

// The lowest byte first, whatever the machine does.
std::uint32_t wordAt(const unsigned char* data) {
  return std::uint32_t{data[0]} | std::uint32_t{data[1]} << 8U |
         std::uint32_t{data[2]} << 16U | std::uint32_t{data[3]} << 24U;
}

}  // namespace

void Crc32::add(const unsigned char* data, std::size_t size) {
  std::uint32_t crc = state;
  for (; size >= stepSize; size -= stepSize, data += stepSize) {
    const std::uint32_t low = crc ^ wordAt(data);
    const std::uint32_t high = wordAt(data + 4);
    crc = tables[7][low & 0xFFU] ^ tables[6][low >> 8U & 0xFFU] ^
          tables[5][low >> 16U & 0xFFU] ^ tables[4][low >> 24U] ^
          tables[3][high & 0xFFU] ^ tables[2][high >> 8U & 0xFFU] ^
          tables[1][high >> 16U & 0xFFU] ^ tables[0][high >> 24U];
  }
  for (; size != 0; --size, ++data) {
    crc = (crc >> 8U) ^ tables[0][(crc ^ *data) & 0xFFU];
  }
  state = crc;
}
