// SPDX-License-Identifier: MIT

#include "common/line_buffer.h"

#include <algorithm>
#include <locale>
#include <streambuf>

#include "common/stream_state.h"

namespace {

constexpr char hexDigits[] = "0123456789abcdef";

constexpr std::array<char, 512> allHexPairs() {
  std::array<char, 512> pairs{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    pairs[2 * byte] = hexDigits[byte / 16];
    pairs[2 * byte + 1] = hexDigits[byte % 16];
  }
  return pairs;
}

// The way to the put area of any stream buffer.
struct PutArea : std::streambuf {
  static std::size_t room(const std::streambuf& buffer) {
    return static_cast<std::size_t>((buffer.*&PutArea::epptr)() -
                                    (buffer.*&PutArea::pptr)());
  }
};

// What fits into the put area cannot fail halfway, whatever the buffer does
// when it is full. One character stays free and the piece is short, as a file
// buffer else writes to its file at once. Without a tie nothing is flushed in
// front of an insertion, and nothing is asked of a good stream. Only the
// classic locale is known to have plain digits: another one may bring facets of
// its own.
std::size_t roomAtOnce(const std::ostream& os) {
  if (!os.good() || os.tie() != nullptr || os.width() != 0) {
    return 0;
  }
  const std::size_t room = PutArea::room(*os.rdbuf());
  if (room == 0 || os.getloc() != std::locale::classic()) {
    return 0;
  }
  return std::min(room - 1, LineBuffer::capacity);
}

}  // namespace

const std::array<char, 512> hexPairs = allHexPairs();

LineBuffer::LineBuffer(std::ostream& stream)
    : os(&stream), end(text), last(end + roomAtOnce(stream)) {}

LineBuffer::LineBuffer() : os(nullptr), end(text), last(end + capacity) {}

LineBuffer& LineBuffer::putDigits(const char* first, const char* behind,
                                  std::size_t width) {
  const auto count = static_cast<std::size_t>(behind - first);
  if (count < width) {
    pad(width - count, '0');
  }
  return put(std::string_view(first, count));
}

LineBuffer& LineBuffer::decimal(std::int64_t value, std::size_t width) {
  char digits[20];
  char* const behind = digits + sizeof(digits);
  char* first = behind;
  const bool negative = value < 0;
  auto rest = static_cast<std::uint64_t>(value);
  if (negative) {
    rest = -rest;
  }
  do {
    *--first = static_cast<char>('0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (negative) {
    *--first = '-';
  }
  return putDigits(first, behind, width);
}

LineBuffer& LineBuffer::hexadecimal(std::uint64_t value, std::size_t width) {
  char digits[16];
  char* const behind = digits + sizeof(digits);
  char* first = behind;
  do {
    *--first = hexDigits[value % 16];
    value /= 16;
  } while (value != 0);
  return putDigits(first, behind, width);
}

// A buffer that writes through fails in spite of its room: the stream has to
// notice that. The insertions replaced flush nothing.
std::ostream& LineBuffer::insert() {
  const StreamState restored(*os);
  os->unsetf(std::ios_base::unitbuf);
  return os->write(text, end - text);
}
