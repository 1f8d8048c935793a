// SPDX-License-Identifier: MIT
//
// What is known of every record: its place as one number, its greatest length.

#ifndef QORUTIL_IHEX_RECORD_KEY_H
#define QORUTIL_IHEX_RECORD_KEY_H

#include <cstddef>
#include <cstdint>

namespace qorutil_internal {

/// A record's place as one number: records are in the order of their keys.
inline std::uint32_t recordKey(std::uint16_t extAddress,
                               std::uint16_t address) {
  return std::uint32_t{extAddress} << 16 | address;
}

/// The most data that a record can have.
constexpr std::size_t longestData = 255;

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_RECORD_KEY_H
