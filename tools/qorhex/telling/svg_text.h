// SPDX-License-Identifier: MIT
//
// Texts and numbers as an SVG picture has them.

#ifndef QORHEX_SVG_TEXT_H
#define QORHEX_SVG_TEXT_H

#include <cstddef>
#include <string>

#include "telling/picture_layout.h"

/// Returns `text`, which is UTF-8 without control characters, as XML has it:
/// with entities for "&", "<", ">" and quotes, and U+FFFD for the two
/// characters that XML does not know.
std::string xmlText(const std::string& text);

/// Returns `text`, which is UTF-8, without its middle where it is wider than
/// `columns`; an ellipsis stands there. Characters from U+1100 on count as two
/// columns.
std::string shortened(const std::string& text, std::size_t columns);

/// Returns `tenths` of a pixel as pixels: "12" or "12.5".
std::string pixels(tenths_t tenths);

#endif  // QORHEX_SVG_TEXT_H
