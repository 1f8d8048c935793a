// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <locale>
#include <ostream>
#include <string_view>

#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"
#include "common/text_stream.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::insertText;
using qorutil_internal::LineBuffer;
using qorutil_internal::makeStringPlainly;
using qorutil_internal::printSeparatedListPlainly;
using qorutil_internal::printUnknownEnumPlainly;
using qorutil_internal::setBits2listPlainly;
using qorutil_internal::takesNumbers;
using qorutil_internal::takesTexts;
using qorutil_internal::TextStream;

template <class T>
std::string formatted(T value, std::ios_base::fmtflags flags) {
  TextStream os;
  os.flags(flags);
  os << value;
  return os.str();
}

// The same without a stream, for the classic locale: the absolute value in the
// base of the flags, with a sign in decimal and a prefix elsewhere.
std::string formattedDirectly(std::uint64_t value, std::string_view decimalSign,
                              std::ios_base::fmtflags flags) {
  const std::ios_base::fmtflags baseFlag = flags & std::ios_base::basefield;
  const bool upperCase = (flags & std::ios_base::uppercase) != 0;
  const bool prefixed = (flags & std::ios_base::showbase) != 0 && value != 0;
  std::string_view prefix = decimalSign;
  int base = 10;
  if (baseFlag == std::ios_base::hex) {
    base = 16;
    prefix = !prefixed ? "" : upperCase ? "0X" : "0x";
  } else if (baseFlag == std::ios_base::oct) {
    base = 8;
    prefix = prefixed ? "0" : "";
  }
  char text[24];
  char* const digits = text + prefix.copy(text, prefix.size());
  char* const end = std::to_chars(digits, std::end(text), value, base).ptr;
  if (upperCase && base == 16) {
    std::transform(digits, end, digits, [](char digit) {
      return static_cast<char>(digit >= 'a' ? digit - 'a' + 'A' : digit);
    });
  }
  return {text, end};
}

std::string formattedUnsigned(unsigned long value,
                              std::ios_base::fmtflags flags) {
  if (std::locale() != std::locale::classic()) {
    return makeStringPlainly(value, flags);
  }
  return formattedDirectly(value, "", flags);
}

bool isDecimal(std::ios_base::fmtflags flags) {
  const std::ios_base::fmtflags base = flags & std::ios_base::basefield;
  return base != std::ios_base::hex && base != std::ios_base::oct;
}

std::size_t countOf(std::uint64_t bits) {
  return std::bitset<64>(bits).count();
}

// The size of the numbers of the bits set, separators aside: the first ten
// numbers have one digit.
std::size_t digitsOf(std::uint64_t bits) {
  return 2 * countOf(bits) - countOf(bits & 0x3FF);
}

// Only a null separator and numbers that a locale groups need a stream.
std::string bitNumbers(std::uint64_t bits, const char* separator) {
  if (bits == 0) {
    return {};
  }
  if (separator == nullptr || std::locale() != std::locale::classic()) {
    return setBits2listPlainly(bits, separator);
  }
  const std::string_view gap = separator;
  std::string text(digitsOf(bits) + gap.size() * (countOf(bits) - 1), '\0');
  char* out = text.data();
  for (unsigned number = 0;; ++number, bits >>= 1) {
    if ((bits & 1) == 0) {
      continue;
    }
    if (number >= 10) {
      *out++ = static_cast<char>('0' + number / 10);
    }
    *out++ = static_cast<char>('0' + number % 10);
    if (bits == 1) {
      return text;
    }
    for (const char character : gap) {
      *out++ = character;
    }
  }
}

// Adds the selected texts. False leaves the list to the plain way: nothing is
// selected, a text is null, or the line has no room for all.
bool putList(LineBuffer& line,
             const std::vector<std::pair<bool, const char*>>& list,
             const char* separator) {
  const std::string_view gap = separator != nullptr ? separator : "";
  bool empty = true;
  for (const auto& [selected, text] : list) {
    if (!selected) {
      continue;
    }
    if (text == nullptr) {
      return false;
    }
    const std::string_view entry = text;
    if (line.room() < gap.size() + entry.size()) {
      return false;
    }
    if (!empty) {
      line.put(gap);
    }
    line.put(entry);
    empty = false;
  }
  return !empty;
}

}  // namespace

namespace qorutil_internal {

std::string makeStringPlainly(int value, std::ios_base::fmtflags flags) {
  return formatted(value, flags);
}

std::string makeStringPlainly(unsigned long value,
                              std::ios_base::fmtflags flags) {
  return formatted(value, flags);
}

// Behind a null separator nothing can be inserted, so only the first number
// stays.
std::string setBits2listPlainly(std::uint64_t bits, const char* separator) {
  TextStream os;
  bool first = true;
  for (int number = 0; bits != 0; ++number, bits >>= 1) {
    if ((bits & 1) == 0) {
      continue;
    }
    if (!first && separator == nullptr) {
      break;
    }
    if (!first) {
      os << separator;
    }
    first = false;
    os << number;
  }
  return os.str();
}

void printSeparatedListPlainly(
    std::ostream& os, const std::vector<std::pair<bool, const char*>>& list,
    const char* separator, const char* emptyText) {
  if (separator == nullptr) {
    separator = "";
  }
  const char* pending = "";
  bool empty = true;
  for (const auto& [selected, text] : list) {
    if (!selected) {
      continue;
    }
    os << pending << text;  // a null text makes the stream bad
    pending = separator;
    empty = false;
  }
  if (empty && emptyText != nullptr) {
    os << emptyText;
  }
}

void printUnknownEnumPlainly(std::ostream& os, int value) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  os << "<unknown: 0x" << value << '>';
}

}  // namespace qorutil_internal

template <>
std::string makeString<int>(const int& value, std::ios_base::fmtflags flags) {
  if (std::locale() != std::locale::classic()) {
    return makeStringPlainly(value, flags);
  }
  const auto bits = static_cast<unsigned int>(value);
  if (!isDecimal(flags)) {
    return formattedDirectly(bits, "", flags);
  }
  if (value < 0) {
    return formattedDirectly(0U - bits, "-", flags);
  }
  const bool signedAlways = (flags & std::ios_base::showpos) != 0;
  return formattedDirectly(bits, signedAlways ? "+" : "", flags);
}

template <>
std::string makeString<unsigned int>(const unsigned int& value,
                                     std::ios_base::fmtflags flags) {
  return formattedUnsigned(value, flags);
}

template <>
std::string makeString<unsigned short>(const unsigned short& value,
                                       std::ios_base::fmtflags flags) {
  return formattedUnsigned(value, flags);
}

template <>
std::string setBits2list<unsigned long>(unsigned long bits,
                                        const char* separator) {
  return bitNumbers(bits, separator);
}

#if ULONG_MAX < UINT64_MAX
template <>
std::string setBits2list<std::uint64_t>(std::uint64_t bits,
                                        const char* separator) {
  return bitNumbers(bits, separator);
}
#endif

void printSeparatedList(std::ostream& os,
                        const std::vector<std::pair<bool, const char*>>& list,
                        const char* separator, const char* emptyText) {
  const auto plain = [&](std::ostream& stream) {
    printSeparatedListPlainly(stream, list, separator, emptyText);
  };
  LineBuffer line;
  if (takesTexts(os) && putList(line, list, separator)) {
    insertText(os, line.view(), plain);
  } else {
    plain(os);
  }
}

void printUnknownEnum(std::ostream& os, int value) {
  const auto plain = [value](std::ostream& stream) {
    printUnknownEnumPlainly(stream, value);
  };
  if (!takesNumbers(os)) {
    plain(os);
    return;
  }
  LineBuffer line;
  line.put("<unknown: 0x").hexadecimal(static_cast<unsigned int>(value));
  insertRecord(os, line.put('>').view(), plain);
}
