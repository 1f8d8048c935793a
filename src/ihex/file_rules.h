// SPDX-License-Identifier: MIT
//
// The rules for the lines of a file, once for the plain way and the loader:
// what ends it, what may stand in it, and the messages about the rest.

#ifndef QORUTIL_IHEX_FILE_RULES_H
#define QORUTIL_IHEX_FILE_RULES_H

#include "qorutil/intelhex.h"

#include <cstdint>
#include <string>

namespace qorutil_internal {

/// Says that the file `path` cannot be opened.
void reportNotOpened(const char* path);

/// Tells whether `line`, as it was read, is the end record.
bool isEndRecord(const std::string& line);

/// Tells whether the record that parseLine() made of `line` is one of data or
/// of an upper address; says what is wrong with another.
bool isSupported(const std::string& line,
                 const IntelHexFile::hexfileline_t& record);

/// The upper address in the first two bytes of such a record's data.
inline std::uint16_t upperAddressOf(const unsigned char* data) {
  return static_cast<std::uint16_t>(data[0] << 8 | data[1]);
}

/// Says that the text ended before its end record.
void reportMissingEnd();

/// Says that records do not fit into the one block they shall make.
void reportNoSingleBlock();

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_FILE_RULES_H
