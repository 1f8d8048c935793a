// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <ostream>

#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::hexdumpPlainly;
using qorutil_internal::insertText;
using qorutil_internal::LineBuffer;
using qorutil_internal::StreamState;
using qorutil_internal::takesNumbers;

struct Dump {
  const unsigned char* bytes;
  std::size_t size;
  const char* prefix;
  std::uint64_t bytesPerLine;
  hexdumpPrefix_t mode;
};

// What stands in front of the bytes of the line that begins at `offset`.
void printLineStart(std::ostream& os, const Dump& dump, std::size_t offset) {
  if (dump.prefix != nullptr) {
    os << dump.prefix;
    if (dump.mode != HEXDUMP_NONE) {
      os << ' ';
    }
  }
  if (dump.mode == HEXDUMP_ADDRESS) {
    os << std::setw(18) << static_cast<const void*>(dump.bytes + offset)
       << ": ";
  } else if (dump.mode == HEXDUMP_OFFSET) {
    os << std::setw(8) << offset << ": ";
  }
}

void printBytes(std::ostream& os, const Dump& dump, std::size_t from,
                std::size_t to) {
  for (std::size_t offset = from; offset < to; ++offset) {
    if (offset % dump.bytesPerLine == 0) {
      if (offset != 0) {
        os << '\n';
      }
      printLineStart(os, dump, offset);
    }
    const unsigned int value = dump.bytes[offset];
    os << ' ' << std::setw(2) << value;
  }
}

void putLineStart(LineBuffer& piece, const Dump& dump, std::size_t prefixSize,
                  std::size_t offset) {
  if (offset != 0) {
    piece.put('\n');
  }
  if (dump.prefix != nullptr) {
    piece.put({dump.prefix, prefixSize});
    if (dump.mode != HEXDUMP_NONE) {
      piece.put(' ');
    }
  }
  if (dump.mode == HEXDUMP_ADDRESS) {
    piece.put("0x");
    piece.hexadecimal(reinterpret_cast<std::uintptr_t>(dump.bytes + offset),
                      16);
    piece.put(": ");
  } else if (dump.mode == HEXDUMP_OFFSET) {
    piece.hexadecimal(offset, 8).put(": ");
  }
}

// The longest that stands in front of the bytes of a line, but for the prefix.
constexpr std::size_t longestStart = 24;

// A longer one leaves a piece no room for bytes.
constexpr std::size_t longestPrefix = LineBuffer::capacity / 2;

// The flags of a dump; its fill character is '0'.
constexpr std::ios_base::fmtflags dumpFlags =
    std::ios_base::internal | std::ios_base::fixed | std::ios_base::hex;

// Fills the piece, but for one character, with what comes from `offset` on;
// returns the offset behind.
std::size_t putPart(LineBuffer& piece, const Dump& dump, std::size_t prefixSize,
                    std::size_t offset) {
  while (offset < dump.size) {
    const std::uint64_t column = offset % dump.bytesPerLine;
    const std::size_t start = column == 0 ? prefixSize + longestStart : 0;
    if (piece.room() < start + 3 + 1) {
      break;
    }
    if (column == 0) {
      putLineStart(piece, dump, prefixSize, offset);
    }
    const std::size_t count =
        std::min({dump.size - offset, (piece.room() - 1) / 3,
                  static_cast<std::size_t>(std::min<std::uint64_t>(
                      dump.bytesPerLine - column, LineBuffer::capacity))});
    piece.hexBytes(dump.bytes + offset, count);
    offset += count;
  }
  return offset;
}

}  // namespace

namespace qorutil_internal {

void hexdumpPlainly(std::ostream& os, const unsigned char* first,
                    const unsigned char* last, const char* prefix,
                    std::uint64_t bytesPerLine, hexdumpPrefix_t mode,
                    bool endLine) {
  const auto size = static_cast<std::size_t>(last - first);
  const StreamState restored(os);
  os.flags(dumpFlags);
  os.fill('0');
  if (size == 0) {
    // A null prefix makes the stream bad here.
    os << prefix << ' ' << std::setw(8) << 0 << ':' << std::endl;
  } else {
    printBytes(os, {first, size, prefix, bytesPerLine, mode}, 0, size);
  }
  if (endLine) {
    os << std::endl;
  }
}

}  // namespace qorutil_internal

template <>
void hexdump<const unsigned char*>(std::ostream& os, const unsigned char* first,
                                   const unsigned char* last,
                                   const char* prefix,
                                   std::uint64_t bytesPerLine,
                                   hexdumpPrefix_t mode, bool endLine) {
  const auto size = static_cast<std::size_t>(last - first);
  const std::size_t prefixSize = prefix != nullptr ? std::strlen(prefix) : 0;
  if (size == 0 || prefixSize > longestPrefix || !takesNumbers(os)) {
    hexdumpPlainly(os, first, last, prefix, bytesPerLine, mode, endLine);
    return;
  }
  const Dump dump{first, size, prefix, bytesPerLine, mode};
  const StreamState restored(os);
  os.flags(dumpFlags);
  os.fill('0');
  for (std::size_t offset = 0; offset < size;) {
    LineBuffer piece;
    const std::size_t end = putPart(piece, dump, prefixSize, offset);
    const bool lineEnds = endLine && end == size;
    if (lineEnds) {
      piece.put('\n');
    }
    insertText(os, piece.view(), [&](std::ostream& stream) {
      printBytes(stream, dump, offset, end);
      if (lineEnds) {
        stream.put('\n');
      }
    });
    offset = end;
  }
  if (endLine) {
    os.flush();
  }
}
