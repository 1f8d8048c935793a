// SPDX-License-Identifier: MIT

#include "image/numbers.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

constexpr const char* leadingZero =
    "a leading 0 before other digits; hexadecimal numbers begin with 0x";
constexpr const char* endsAbove = "ends above 0xffffffff";

// What can be wrong with a number.
enum class fault_t { NONE, NO_NUMBER, LEADING_ZERO, TOO_LARGE };

fault_t scanDigits(std::string_view digits, int base, std::uint64_t& number) {
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
  if (stop != end || error == std::errc::invalid_argument) {
    return fault_t::NO_NUMBER;
  }
  return error == std::errc() ? fault_t::NONE : fault_t::TOO_LARGE;
}

// On any fault `number` is of no use.
fault_t scanNumber(std::string_view text, std::uint64_t& number) {
  if (text.size() < 2 || text[0] != '0') {
    return scanDigits(text, 10, number);
  }
  if (text[1] == 'x' || text[1] == 'X') {
    return scanDigits(text.substr(2), 16, number);
  }
  // What is no number without the zero is none with it.
  const fault_t rest = scanDigits(text, 10, number);
  return rest == fault_t::NO_NUMBER ? rest : fault_t::LEADING_ZERO;
}

fault_t scanSize(std::string_view text, std::uint64_t& size) {
  constexpr std::string_view units = "KMG";
  unsigned shift = 0;
  if (!text.empty() && units.find(text.back()) != std::string_view::npos) {
    shift = 10 * (1 + static_cast<unsigned>(units.find(text.back())));
    text.remove_suffix(1);
  }
  const fault_t fault = scanNumber(text, size);
  if (fault != fault_t::NONE) {
    return fault;
  }
  if (size > largest >> shift) {
    return fault_t::TOO_LARGE;
  }
  size <<= shift;
  return fault_t::NONE;
}

// Each fault in words, behind the name of what has it.
std::string faultText(const char* what, fault_t fault) {
  switch (fault) {
    case fault_t::NO_NUMBER:
      return std::string("not a ") + what;
    case fault_t::LEADING_ZERO:
      return leadingZero;
    default:
      return std::string("a ") + what + " beyond 64 bits";
  }
}

// Makes the range from its `first` address and what stands behind it.
std::optional<range_t> makeRange(std::uint64_t first, char separator,
                                 std::uint64_t second, std::string& reason) {
  if (separator == '-') {
    if (second > lastAddress) {
      reason = endsAbove;
    } else if (second < first) {
      reason = "the last address is below the first";
    } else {
      return range_t{first, second};
    }
    return std::nullopt;
  }
  if (second == 0) {
    reason = "a size of 0";
  } else if (first > lastAddress || second - 1 > lastAddress - first) {
    reason = endsAbove;
  } else {
    return range_t{first, first + (second - 1)};
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> parseNumber(std::string_view text,
                                         std::string& reason) {
  std::uint64_t number = 0;
  const fault_t fault = scanNumber(text, number);
  if (fault != fault_t::NONE) {
    reason = faultText("number", fault);
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> parseNumber(std::string_view text,
                                         std::uint64_t least,
                                         std::uint64_t most,
                                         std::string& reason) {
  std::uint64_t number = 0;
  const fault_t fault = scanNumber(text, number);
  if (fault == fault_t::LEADING_ZERO) {
    reason = leadingZero;
    return std::nullopt;
  }
  if (fault != fault_t::NONE || number < least || number > most) {
    reason = "not a number from " + std::to_string(least) + " to " +
             std::to_string(most);
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> parseSize(std::string_view text,
                                       std::string& reason) {
  std::uint64_t size = 0;
  const fault_t fault = scanSize(text, size);
  if (fault != fault_t::NONE) {
    reason = faultText("size", fault);
    return std::nullopt;
  }
  return size;
}

std::optional<range_t> parseRange(std::string_view text, std::string& reason) {
  const std::size_t at = text.find_first_of("-+");
  if (at == std::string_view::npos) {
    reason = "not a range; write <first>-<last> or <first>+<size>";
    return std::nullopt;
  }
  const bool isSize = text[at] == '+';
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  const fault_t firstFault = scanNumber(text.substr(0, at), first);
  const fault_t secondFault = isSize ? scanSize(text.substr(at + 1), second)
                                     : scanNumber(text.substr(at + 1), second);
  // The shape of a number is told before its value.
  for (const fault_t fault : {firstFault, secondFault}) {
    if (fault == fault_t::LEADING_ZERO) {
      reason = leadingZero;
      return std::nullopt;
    }
    if (fault == fault_t::NO_NUMBER) {
      const bool isFirst = firstFault == fault_t::NO_NUMBER;
      reason = isFirst  ? "the first address is not a number"
               : isSize ? "the size is not a number, nK, nM or nG"
                        : "the last address is not a number";
      return std::nullopt;
    }
  }
  if (firstFault != fault_t::NONE || secondFault != fault_t::NONE) {
    reason = endsAbove;
    return std::nullopt;
  }
  return makeRange(first, text[at], second, reason);
}

std::string addressText(std::uint64_t address) {
  std::string text;
  for (int digits = 8; digits > 0 || address != 0; --digits, address >>= 4U) {
    text.insert(text.begin(), "0123456789abcdef"[address & 0xFU]);
  }
  return "0x" + text;
}
