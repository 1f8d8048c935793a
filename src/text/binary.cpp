// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string_view>

#include "common/insertion.h"
#include "common/stream_state.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::printBinaryPlainly;
using qorutil_internal::StreamState;
using qorutil_internal::takesTexts;

// The digits of the lowest `groups` groups of four bits. The text grows from
// its least significant end.
std::string binaryDigits(std::uint64_t value, std::uint64_t groups,
                         bool grouped) {
  std::string text;
  for (std::uint64_t group = 0; group < groups; ++group) {
    if (grouped && group != 0) {
      text += ' ';
    }
    for (int bit = 0; bit < 4; ++bit) {
      text += (value & 1) != 0 ? '1' : '0';
      value >>= 1;
    }
  }
  std::reverse(text.begin(), text.end());
  return text;
}

constexpr std::size_t mostDigits = 79;

// All groups of four digits in ascending order.
constexpr char allGroups[] =
    "0000000100100011010001010110011110001001101010111100110111101111";

// The same, most significant group first; returns where the text ends.
char* writeBinaryDigits(char* to, std::uint64_t value, unsigned groups,
                        bool grouped) {
  while (groups > 0) {
    --groups;
    const std::size_t four = value >> 4 * groups & 0xF;
    std::memcpy(to, &allGroups[4 * four], 4);
    to += 4;
    if (grouped && groups > 0) {
      *to++ = ' ';
    }
  }
  return to;
}

}  // namespace

namespace qorutil_internal {

std::ostream& printBinaryPlainly(std::ostream& os, std::uint64_t value,
                                 std::uint64_t bits) {
  const StreamState restored(os);
  const std::ios_base::fmtflags flags = restored.flags();
  if ((flags & std::ios_base::hex) != 0) {
    return os << value;
  }
  os.flags(std::ios_base::fixed | (flags & std::ios_base::left));
  os.fill(' ');
  return os << binaryDigits(value, bits / 4,
                            (flags & std::ios_base::internal) != 0);
}

}  // namespace qorutil_internal

// The text is one insertion anyway; what is saved is the string.
std::ostream& BinaryBase::print(std::ostream& os, std::uint64_t value,
                                std::uint64_t bits) {
  const std::ios_base::fmtflags flags = os.flags();
  if ((flags & std::ios_base::hex) != 0 || bits > 64) {
    return printBinaryPlainly(os, value, bits);
  }
  char digits[mostDigits];
  const char* const end =
      writeBinaryDigits(digits, value, static_cast<unsigned>(bits / 4),
                        (flags & std::ios_base::internal) != 0);
  const std::string_view text(digits, static_cast<std::size_t>(end - digits));
  const auto plain = [text, flags](std::ostream& stream) {
    const StreamState restored(stream);
    stream.flags(std::ios_base::fixed | (flags & std::ios_base::left));
    stream.fill(' ');
    stream << text;
  };
  if (takesTexts(os)) {
    insertRecord(os, text, plain);
  } else {
    plain(os);
  }
  return os;
}
