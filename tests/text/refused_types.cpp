// SPDX-License-Identifier: MIT
//
// Must not compile: the templates for fixed types with another type. The test
// looks for the texts of their assertions among the compiler's messages.

#include "qorutil/formatting.h"

#include <cstddef>
#include <string>

std::string refusedNumber() {
  return makeString(1.5, std::ios_base::fixed);
}

std::string refusedWord() {
  return setBits2list(0x0B, ",");
}

void refusedBytes(std::ostream& os, const std::byte* bytes) {
  hexdump(os, bytes, bytes, "", 16, HEXDUMP_NONE, false);
}
