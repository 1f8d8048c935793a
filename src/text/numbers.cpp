// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <ostream>
#include <sstream>

#include "common/stream_state.h"

namespace {

template <class T>
std::string formatted(T value, std::ios_base::fmtflags flags) {
  std::ostringstream os;
  os.flags(flags);
  os << value;
  return os.str();
}

// A null separator makes the stream bad, so only the first number stays.
std::string bitNumbers(std::uint64_t bits, const char* separator) {
  std::ostringstream os;
  bool first = true;
  for (int number = 0; bits != 0; ++number, bits >>= 1) {
    if ((bits & 1) == 0) {
      continue;
    }
    if (!first) {
      os << separator;
    }
    first = false;
    os << number;
  }
  return os.str();
}

}  // namespace

template <>
std::string makeString<int>(const int& value, std::ios_base::fmtflags flags) {
  return formatted(value, flags);
}

template <>
std::string makeString<unsigned int>(const unsigned int& value,
                                     std::ios_base::fmtflags flags) {
  return formatted(static_cast<unsigned long>(value), flags);
}

template <>
std::string makeString<unsigned short>(const unsigned short& value,
                                       std::ios_base::fmtflags flags) {
  return formatted(static_cast<unsigned long>(value), flags);
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

void printUnknownEnum(std::ostream& os, int value) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  os << "<unknown: 0x" << value << '>';
}
