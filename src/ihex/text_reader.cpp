// SPDX-License-Identifier: MIT

#include "ihex/text_reader.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace qorutil_internal {

namespace {

// Large enough that a read costs little beside the bytes it brings, small
// enough for the second-level cache.
constexpr std::size_t pieceSize = std::size_t{128} << 10;

// No path is no file. The system would say so; to libc it is undefined.
int openText(const char* path) {
  if (path == nullptr) {
    errno = EFAULT;
    return -1;
  }
  return ::open(path, O_RDONLY | O_LARGEFILE | O_CLOEXEC);
}

}  // namespace

TextReader::TextReader(const char* path)
    : buffer(new char[pieceSize + 2 * lookAhead]),
      descriptor(openText(path)),
      cursor(buffer.get()),
      end(buffer.get()) {}

TextReader::~TextReader() {
  if (descriptor != -1) {
    ::close(descriptor);
  }
}

// Moves what is left, which is less than lookAhead, to the front and reads more
// behind it, until there is a whole line, enough or no more.
void TextReader::refill() {
  char* const front = buffer.get();
  auto left = static_cast<std::size_t>(end - cursor);
  if (finished || std::memchr(cursor, '\n', left) != nullptr) {
    return;
  }
  std::memmove(front, cursor, left);
  const char* added = front + left;
  do {
    const ssize_t count = ::read(descriptor, front + left, pieceSize);
    if (count > 0) {
      added = front + left;
      left += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      finished = true;
      failed = count != 0;
    }
  } while (left < lookAhead && !finished &&
           std::memchr(added, '\n',
                       static_cast<std::size_t>(front + left - added)) ==
               nullptr);
  cursor = front;
  end = front + left;
  std::memset(front + left, 0, lookAhead);
}

void TextReader::getLine(std::string& line) {
  line.clear();
  for (;;) {
    text();
    const auto left = static_cast<std::size_t>(end - cursor);
    const void* const feed = std::memchr(cursor, '\n', left);
    if (feed != nullptr) {
      const auto length =
          static_cast<std::size_t>(static_cast<const char*>(feed) - cursor);
      line.append(cursor, length);
      cursor += length + 1;
      return;
    }
    line.append(cursor, left);
    cursor = end;
    if (finished) {
      metEnd = !failed;
      metError = failed;
      return;
    }
  }
}

}  // namespace qorutil_internal
