// SPDX-License-Identifier: MIT
//
// Lines of Intel HEX text for tests.

#ifndef QORUTIL_TESTS_SUPPORT_HEXRECORD_H
#define QORUTIL_TESTS_SUPPORT_HEXRECORD_H

#include <cstdint>
#include <string>
#include <vector>

/// Returns the record of `type` with `data` at `address`, its checksum behind
/// it, without a line end. More than 255 bytes are too many.
std::string hexRecord(unsigned type, unsigned address,
                      const std::vector<unsigned char>& data);

#endif  // QORUTIL_TESTS_SUPPORT_HEXRECORD_H
