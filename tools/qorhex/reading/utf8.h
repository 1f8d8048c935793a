// SPDX-License-Identifier: MIT
//
// The characters of UTF-8 text that may be anything.

#ifndef QORHEX_UTF8_H
#define QORHEX_UTF8_H

#include <string_view>

/// Returns the bytes at the front of `bytes`, which are not empty, that are one
/// character, or as many as can begin one and are none; `valid` tells which.
std::string_view firstCharacter(std::string_view bytes, bool& valid);

/// Tells whether the valid `character` is a control character: one below U+0020
/// or from U+007F to U+009F.
bool isControl(std::string_view character);

#endif  // QORHEX_UTF8_H
