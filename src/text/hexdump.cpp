// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cstddef>
#include <iomanip>
#include <ostream>

#include "common/stream_state.h"

namespace {

// What stands in front of the bytes of the line that begins at `address`.
void printLineStart(std::ostream& os, const char* prefix, hexdumpPrefix_t mode,
                    const unsigned char* address, std::size_t offset) {
  if (prefix != nullptr) {
    os << prefix;
    if (mode != HEXDUMP_NONE) {
      os << ' ';
    }
  }
  if (mode == HEXDUMP_ADDRESS) {
    os << std::setw(18) << static_cast<const void*>(address) << ": ";
  } else if (mode == HEXDUMP_OFFSET) {
    os << std::setw(8) << offset << ": ";
  }
}

void printLines(std::ostream& os, const unsigned char* first,
                const unsigned char* last, const char* prefix,
                std::uint64_t bytesPerLine, hexdumpPrefix_t mode) {
  std::size_t offset = 0;
  for (const unsigned char* byte = first; byte != last; ++byte, ++offset) {
    if (offset % bytesPerLine == 0) {
      if (offset != 0) {
        os << '\n';
      }
      printLineStart(os, prefix, mode, byte, offset);
    }
    os << ' ' << std::setw(2) << static_cast<unsigned int>(*byte);
  }
}

}  // namespace

template <>
void hexdump<const unsigned char*>(std::ostream& os, const unsigned char* first,
                                   const unsigned char* last,
                                   const char* prefix,
                                   std::uint64_t bytesPerLine,
                                   hexdumpPrefix_t mode, bool endLine) {
  const StreamState restored(os);
  os.flags(std::ios_base::internal | std::ios_base::fixed | std::ios_base::hex);
  os.fill('0');
  if (first == last) {
    // A null prefix makes the stream bad here.
    os << prefix << ' ' << std::setw(8) << 0 << ':' << std::endl;
  } else {
    printLines(os, first, last, prefix, bytesPerLine, mode);
  }
  if (endLine) {
    os << std::endl;
  }
}
