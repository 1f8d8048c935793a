// SPDX-License-Identifier: MIT
//
// Numbers, sizes and ranges of addresses as users write them: in options and in
// maps.

#ifndef QORHEX_NUMBERS_H
#define QORHEX_NUMBERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The last address there is.
constexpr std::uint64_t lastAddress = 0xFFFFFFFF;

/// A range of addresses.
struct range_t {
  /// The first address.
  std::uint64_t first;
  /// The last address, which belongs to the range; not below the first.
  std::uint64_t last;

  /// The number of addresses.
  std::uint64_t size() const { return last - first + 1; }
};

/// Reads `text` as a number: decimal digits, or hex digits behind "0x".
///
/// Nothing else is taken, no sign and no blank. A leading 0 before other digits
/// is refused, as some mean octal by it.
///
/// Failure: returns nothing; `reason` then says why, in words that can stand
/// before the text itself. The same goes for the functions below.
std::optional<std::uint64_t> parseNumber(std::string_view text,
                                         std::string& reason);

/// Reads a number from `least` to `most`.
std::optional<std::uint64_t> parseNumber(std::string_view text,
                                         std::uint64_t least,
                                         std::uint64_t most,
                                         std::string& reason);

/// Reads a size in bytes: a number, and K, M or G behind it where it counts
/// powers of 1024.
std::optional<std::uint64_t> parseSize(std::string_view text,
                                       std::string& reason);

/// Reads a range of addresses: "<first>-<last>", both included, or
/// "<first>+<size>". It ends at lastAddress or before.
std::optional<range_t> parseRange(std::string_view text, std::string& reason);

/// Returns `address` as "0x" and at least eight lower-case hex digits.
std::string addressText(std::uint64_t address);

#endif  // QORHEX_NUMBERS_H
