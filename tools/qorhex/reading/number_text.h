// SPDX-License-Identifier: MIT
//
// Numbers as texts.

#ifndef QORHEX_NUMBER_TEXT_H
#define QORHEX_NUMBER_TEXT_H

#include <cstdint>
#include <string>

/// Returns `value` as "0x" and at least `digits` lower-case hex digits, which
/// are 16 at most.
std::string hexText(std::uint64_t value, int digits);

/// Returns the size `bytes` in the largest unit that suits it, as in "1.5KiB".
std::string sizeText(std::uint64_t bytes);

/// Returns `count` and `unit`, with an "s" behind it unless `count` is 1.
std::string countText(std::uint64_t count, const std::string& unit);

/// Returns which share `part` is of `whole`, as in "12.5%". It is rounded down,
/// so that only all of it is 100.0%.
std::string percentText(std::uint64_t part, std::uint64_t whole);

#endif  // QORHEX_NUMBER_TEXT_H
