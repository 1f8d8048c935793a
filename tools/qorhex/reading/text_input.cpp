// SPDX-License-Identifier: MIT

#include "reading/text_input.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "reading/failure.h"

TextInput::TextInput(std::string pathName)
    : path(std::move(pathName)),
      file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status {};

  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    throwSystemError(path);
  }
  if (S_ISREG(status.st_mode)) {
    bytes = static_cast<std::uint64_t>(status.st_size);
  } else {
    copy = makeAnonymousFile(path);
  }
}

int TextInput::rewind() const {
  if (::lseek(again(), 0, SEEK_SET) != 0) {
    throwSystemError(path);
  }
  return again();
}

std::string_view TextInput::lineAt(std::uint64_t position,
                                   char (&buffer)[maxRecordText]) const {
  ssize_t count = 0;
  do {
    count =
        ::pread(again(), buffer, sizeof buffer, static_cast<off_t>(position));
  } while (count == -1 && errno == EINTR);
  if (count == -1) {
    throwSystemError(path);
  }
  std::string_view line(buffer, static_cast<std::size_t>(count));
  line = line.substr(0, line.find('\n'));
  while (!line.empty() && isBlank(line.back())) {
    line.remove_suffix(1);
  }
  return line;
}

std::string TextInput::quoteLineAt(std::uint64_t position) const {
  char buffer[maxRecordText];
  const std::string_view line = lineAt(position, buffer);
  return quoteText(line.data(), line.size());
}

std::string TextInput::pathForLibrary() const {
  return copy.isOpen() ? pathOf(copy) : path;
}

LineReader::LineReader(int source, int spool, std::string sourceName,
                       Progress& observer)
    : input(source),
      output(spool),
      name(std::move(sourceName)),
      progress(observer),
      buffer(2 * ioPiece) {}  // as the library: half the calls of reading

bool LineReader::next(line_t& line) {
  std::size_t searched = begin;
  const char* lineFeed = nullptr;
  for (;;) {
    lineFeed = static_cast<const char*>(
        std::memchr(buffer.data() + searched, '\n', end - searched));
    if (lineFeed != nullptr) {
      break;
    }
    const std::size_t length = end - begin;
    if (!fill()) {
      break;
    }
    searched = begin + length;
  }
  if (begin == end) {
    return false;
  }
  const std::size_t size =
      lineFeed != nullptr
          ? static_cast<std::size_t>(lineFeed - buffer.data()) - begin
          : end - begin;
  line = {buffer.data() + begin, size, position, ++number};
  const std::size_t taken = lineFeed != nullptr ? size + 1 : size;
  begin += taken;
  position += taken;
  return true;
}

bool LineReader::nextRecord(line_t& line) {
  const char* const text = buffer.data() + begin;
  const std::size_t left = end - begin;
  const std::size_t size = soundRecord(text, left);
  if (size == 0 || left - size < 2) {
    return false;
  }
  const std::size_t lineFeed = text[size] == '\r' ? size + 1 : size;
  if (text[lineFeed] != '\n') {
    return false;
  }
  line = {text, size, position, ++number};
  begin += lineFeed + 1;
  position += lineFeed + 1;
  return true;
}

std::uint64_t LineReader::countRest() {
  output = -1;
  std::uint64_t count = 0;
  bool counted = false;
  do {
    for (; begin != end; ++begin) {
      const char character = buffer[begin];
      if (character == '\n') {
        counted = false;
      } else if (!counted && !isBlank(character)) {
        counted = true;
        ++count;
      }
    }
  } while (fill());
  return count;
}

// Reads more text behind that which is not taken yet; false at the end of the
// text and when the buffer is full.
bool LineReader::fill() {
  if (begin != 0) {
    std::memmove(buffer.data(), buffer.data() + begin, end - begin);
    end -= begin;
    begin = 0;
  }
  if (end == buffer.size()) {
    return false;
  }
  const std::size_t count =
      readSome(input, buffer.data() + end, buffer.size() - end, name);
  if (output != -1) {
    writeAll(output, buffer.data() + end, count, name);
  }
  end += count;
  progress.advance(count);
  return count != 0;
}
