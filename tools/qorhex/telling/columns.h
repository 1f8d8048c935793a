// SPDX-License-Identifier: MIT
//
// Words in aligned columns.

#ifndef QORHEX_COLUMNS_H
#define QORHEX_COLUMNS_H

#include <cstddef>
#include <string>
#include <string_view>

/// The columns for the number of a segment in a table.
constexpr std::size_t numberWidth = 5;

/// Appends `word`, which is ASCII, to `text`, behind as many blanks as make it
/// `width` columns.
void appendRight(std::string& text, std::string_view word, std::size_t width);

/// Appends `word` to `text` and as many blanks as make it `width` columns.
void appendLeft(std::string& text, std::string_view word, std::size_t width);

/// Returns the number of columns of `word`, which is UTF-8: its characters.
std::size_t columnsOf(std::string_view word);

/// Ends the line at the end of `text`, without blanks behind its last word.
void endLine(std::string& text);

#endif  // QORHEX_COLUMNS_H
