// SPDX-License-Identifier: MIT
//
// The lower-case hexadecimal digits of bytes.

#ifndef QORUTIL_COMMON_HEX_PAIRS_H
#define QORUTIL_COMMON_HEX_PAIRS_H

#include <array>
#include <cstddef>
#include <cstring>

namespace qorutil_internal {

constexpr std::array<char, 512> makeHexPairs() {
  constexpr char digits[] = "0123456789abcdef";
  std::array<char, 512> pairs{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    pairs[2 * byte] = digits[byte / 16];
    pairs[2 * byte + 1] = digits[byte % 16];
  }
  return pairs;
}

/// Two digits for each byte.
inline constexpr std::array<char, 512> hexPairs = makeHexPairs();

/// Writes the two digits of `byte`; returns where they end.
inline char* writeHexPair(char* to, unsigned char byte) {
  std::memcpy(to, &hexPairs[std::size_t{2} * byte], 2);
  return to + 2;
}

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_HEX_PAIRS_H
