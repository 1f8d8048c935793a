// SPDX-License-Identifier: MIT
//
// Files that are no Intel HEX at all, but something well known.

#ifndef QORHEX_FILE_KIND_H
#define QORHEX_FILE_KIND_H

#include <cstddef>
#include <cstdint>
#include <string_view>

/// How much of a file otherKind() looks at.
constexpr std::size_t kindRoom = 512;

/// Returns the number of the first line in `beginning`, that of a text, which
/// has more than blanks and a byte-order mark; 0 where it has none.
std::uint64_t firstFilledLine(std::string_view beginning);

/// Says what the file is that begins with `beginning`, and which tool makes
/// Intel HEX of it or leads there; null when it is nothing that is known.
///
/// Known are ELF, UF2, gzip, zip and DfuSe by their magic numbers, S-records,
/// HTML and XML, and UTF-16 with or without its mark; what else has a NUL are
/// raw bytes.
const char* otherKind(std::string_view beginning);

#endif  // QORHEX_FILE_KIND_H
