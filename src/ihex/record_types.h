// SPDX-License-Identifier: MIT
//
// The record types that mean something to the library.

#ifndef QORUTIL_IHEX_RECORD_TYPES_H
#define QORUTIL_IHEX_RECORD_TYPES_H

#include <cstdint>

namespace qorutil_internal {

constexpr std::uint8_t dataRecord = 0;
constexpr std::uint8_t upperAddressRecord = 4;
/// What a record's type is where no sound record was read.
constexpr std::uint8_t noRecord = 0xFF;

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_RECORD_TYPES_H
