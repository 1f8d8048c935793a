// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <ostream>

#include "common/stream_state.h"

namespace {

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

}  // namespace

std::ostream& BinaryBase::print(std::ostream& os, std::uint64_t value,
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
