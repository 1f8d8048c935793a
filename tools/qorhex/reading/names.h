// SPDX-License-Identifier: MIT
//
// File names as messages show them.

#ifndef QORHEX_NAMES_H
#define QORHEX_NAMES_H

#include <string>

/// Returns the name of the FILE argument `path`: itself, and "<stdin>" for "-".
std::string nameOf(const std::string& path);

/// Returns `name` without what could play tricks on a terminal: control
/// characters (those from U+0080 to U+009F too), backslashes and what is no
/// UTF-8 become \xnn, byte by byte. Everything else stands.
std::string escapeName(const std::string& name);

#endif  // QORHEX_NAMES_H
