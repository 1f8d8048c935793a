// SPDX-License-Identifier: MIT

#include "common/line_buffer.h"

#include <charconv>

#include "common/hex_pairs.h"

namespace qorutil_internal {

namespace {

// The characters of an integer with nothing in front of them, which std::
// to_chars() has put at `first`, become `width` characters at least.
std::size_t padded(char* first, std::size_t count, std::size_t width) {
  if (count >= width) {
    return count;
  }
  std::memmove(first + width - count, first, count);
  std::memset(first, '0', width - count);
  return width;
}

}  // namespace

LineBuffer& LineBuffer::decimal(std::int64_t value, std::size_t width) {
  char* const first = text + size;
  const char* const end = std::to_chars(first, text + capacity, value).ptr;
  size += padded(first, static_cast<std::size_t>(end - first), width);
  return *this;
}

LineBuffer& LineBuffer::hexadecimal(std::uint64_t value, std::size_t width) {
  char* const first = text + size;
  const char* const end = std::to_chars(first, text + capacity, value, 16).ptr;
  size += padded(first, static_cast<std::size_t>(end - first), width);
  return *this;
}

LineBuffer& LineBuffer::hexBytes(const unsigned char* bytes,
                                 std::size_t count) {
  char* to = text + size;
  for (std::size_t i = 0; i < count; ++i) {
    *to++ = ' ';
    to = writeHexPair(to, bytes[i]);
  }
  size += 3 * count;
  return *this;
}

}  // namespace qorutil_internal
