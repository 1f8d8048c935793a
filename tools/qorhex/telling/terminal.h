// SPDX-License-Identifier: MIT
//
// What can be shown where the text goes.

#ifndef QORHEX_TERMINAL_H
#define QORHEX_TERMINAL_H

#include <cstddef>
#include <optional>

/// Returns the number of columns of the terminal that `descriptor` is, 72 where
/// it does not say; nothing where it is none.
std::optional<std::size_t> terminalWidth(int descriptor);

/// Tells whether text for `descriptor` may have colours: it is a terminal, and
/// neither is NO_COLOR something nor TERM "dumb".
bool hasColours(int descriptor);

/// The width of what is no terminal.
constexpr std::size_t standardWidth = 72;

#endif  // QORHEX_TERMINAL_H
