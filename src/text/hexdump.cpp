// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <ostream>

#include "common/line_buffer.h"
#include "common/plain.h"
#include "common/stream_state.h"

namespace {

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

// The bytes from `offset` up to `end`, and what stands in front of the lines
// that begin there.
void printPart(std::ostream& os, const Dump& dump, std::size_t offset,
               std::size_t end) {
  for (; offset < end; ++offset) {
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

void putBytes(LineBuffer& piece, const unsigned char* bytes,
              std::size_t count) {
  char* out = piece.position();
  for (std::size_t i = 0; i < count; ++i, out += 3) {
    *out = ' ';
    std::memcpy(out + 1, &hexPairs[std::size_t{2} * bytes[i]], 2);
  }
  piece.position() = out;
}

// Fills the piece with what comes from `offset` on; returns the offset behind.
std::size_t putPart(LineBuffer& piece, const Dump& dump, std::size_t prefixSize,
                    std::size_t offset) {
  const std::size_t longestStart = prefixSize + 24;
  while (offset < dump.size) {
    const std::uint64_t column = offset % dump.bytesPerLine;
    const std::size_t start = column == 0 ? longestStart : 0;
    if (piece.room() < start + 3) {
      break;
    }
    if (column == 0) {
      putLineStart(piece, dump, prefixSize, offset);
    }
    const std::size_t count =
        std::min({dump.size - offset, piece.room() / 3,
                  static_cast<std::size_t>(std::min<std::uint64_t>(
                      dump.bytesPerLine - column, LineBuffer::capacity))});
    putBytes(piece, dump.bytes + offset, count);
    offset += count;
  }
  return offset;
}

// A part for which the stream has no room is printed plainly, which makes room.
void printParts(std::ostream& os, const Dump& dump) {
  constexpr std::size_t plainBytes = 16;
  const std::size_t prefixSize =
      dump.prefix != nullptr ? std::strlen(dump.prefix) : 0;
  std::size_t offset = 0;
  while (offset < dump.size) {
    LineBuffer piece(os);
    std::size_t end = putPart(piece, dump, prefixSize, offset);
    if (end != offset) {
      piece.insert();
    } else {
      end += std::min(plainBytes, dump.size - offset);
      printPart(os, dump, offset, end);
    }
    offset = end;
  }
}

template <class PrintBytes>
void printDump(std::ostream& os, const Dump& dump, bool endLine,
               const PrintBytes& printBytes) {
  const StreamState restored(os);
  os.flags(std::ios_base::internal | std::ios_base::fixed | std::ios_base::hex);
  os.fill('0');
  if (dump.size == 0) {
    // A null prefix makes the stream bad here.
    os << dump.prefix << ' ' << std::setw(8) << 0 << ':' << std::endl;
  } else {
    printBytes(os, dump);
  }
  if (endLine) {
    os << std::endl;
  }
}

}  // namespace

void hexdumpPlainly(std::ostream& os, const unsigned char* first,
                    const unsigned char* last, const char* prefix,
                    std::uint64_t bytesPerLine, hexdumpPrefix_t mode,
                    bool endLine) {
  const auto size = static_cast<std::size_t>(last - first);
  printDump(os, {first, size, prefix, bytesPerLine, mode}, endLine,
            [](std::ostream& stream, const Dump& dump) {
              printPart(stream, dump, 0, dump.size);
            });
}

template <>
void hexdump<const unsigned char*>(std::ostream& os, const unsigned char* first,
                                   const unsigned char* last,
                                   const char* prefix,
                                   std::uint64_t bytesPerLine,
                                   hexdumpPrefix_t mode, bool endLine) {
  const auto size = static_cast<std::size_t>(last - first);
  printDump(os, {first, size, prefix, bytesPerLine, mode}, endLine, printParts);
}
