// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <locale>
#include <ostream>
#include <sstream>

#include "common/line_buffer.h"
#include "common/plain.h"
#include "common/stream_state.h"

namespace {

struct NamedEscape {
  char byte;
  const char* text;
};

constexpr NamedEscape namedEscapes[] = {
    {'\0', "\\0"}, {'\a', "\\a"}, {'\b', "\\b"}, {'\t', "\\t"},  {'\n', "\\n"},
    {'\v', "\\v"}, {'\f', "\\f"}, {'\r', "\\r"}, {'\\', "\\\\"},
};

// Where a part has to be printed plainly, that makes room for the next one.
constexpr std::size_t plainBytes = 16;

// The escape that has a letter of its own, or null.
const char* namedEscape(char byte) {
  if (static_cast<unsigned char>(byte) > '\r' && byte != '\\') {
    return nullptr;
  }
  for (const NamedEscape& escape : namedEscapes) {
    if (escape.byte == byte) {
      return escape.text;
    }
  }
  return nullptr;
}

bool isPrintable(char byte) {
  return std::isprint(static_cast<unsigned char>(byte)) != 0;
}

char shownByte(char byte) {
  return isPrintable(byte) ? byte : '.';
}

char quoteOf(const std::string& text) {
  return text.size() == 1 ? '\'' : '"';
}

// The stream is in hexadecimal mode with zeros as fill.
void printEscapedByte(std::ostream& os, char byte) {
  const char* const escape = namedEscape(byte);
  if (escape != nullptr) {
    os << escape;
  } else if (isPrintable(byte)) {
    os << byte;
  } else {
    const unsigned int value = static_cast<unsigned char>(byte);
    os << "\\x" << std::setw(2) << value;
  }
}

// The bytes from `from` up to `to`, with the quotes at the ends of the text.
void printEscapedPart(std::ostream& os, const std::string& text,
                      std::size_t from, std::size_t to) {
  if (from == 0) {
    os << quoteOf(text);
  }
  for (std::size_t i = from; i < to; ++i) {
    printEscapedByte(os, text[i]);
  }
  if (to == text.size()) {
    os << quoteOf(text);
  }
}

// The most characters that a byte becomes.
constexpr std::size_t longestEscape = 4;

// From this size on a table pays, though it is made for each call.
constexpr std::size_t longText = 64;

// What printEscapedByte() prints; returns where it ends.
char* writeEscapedByte(char* to, char byte) {
  const char* const escape = namedEscape(byte);
  if (escape != nullptr) {
    to[0] = escape[0];
    to[1] = escape[1];
    return to + 2;
  }
  if (isPrintable(byte)) {
    *to = byte;
    return to + 1;
  }
  to[0] = '\\';
  to[1] = 'x';
  std::memcpy(to + 2,
              &hexPairs[std::size_t{2} * static_cast<unsigned char>(byte)], 2);
  return to + longestEscape;
}

// Calls `ask` for the bytes whose class has to be known: those that occur, or
// all of them where that is the quicker way.
template <class Known, class Ask>
void askForBytes(const std::string& text, Known known, Ask ask) {
  constexpr std::size_t manyBytes = 2048;
  if (text.size() < manyBytes) {
    for (const char byte : text) {
      if (!known(byte)) {
        ask(byte);
      }
    }
    return;
  }
  for (int byte = 0; byte < 256; ++byte) {
    ask(static_cast<char>(byte));
  }
}

char* writeEscapedBytes(char* to, const char* from, const char* end) {
  for (; from != end; ++from) {
    to = writeEscapedByte(to, *from);
  }
  return to;
}

// What becomes of each byte of a text. Nothing is kept beyond a call.
class Escapes {
 public:
  explicit Escapes(const std::string& text) {
    askForBytes(
        text, [this](char byte) { return sizeOf(byte) != 0; },
        [this](char byte) {
          char* const start = texts[static_cast<unsigned char>(byte)];
          const char* const end = writeEscapedByte(start, byte);
          sizes[static_cast<unsigned char>(byte)] =
              static_cast<unsigned char>(end - start);
        });
  }

  std::size_t sizeOf(char byte) const {
    return sizes[static_cast<unsigned char>(byte)];
  }

  // Writes longestEscape characters, of which those of the byte come first;
  // returns where these end.
  char* write(char* to, char byte) const {
    const std::size_t size = sizeOf(byte);
    std::memcpy(to, texts[static_cast<unsigned char>(byte)], longestEscape);
    return to + size;
  }

  // The same for many bytes. Printable ones mostly come in runs.
  char* write(char* to, const char* from, const char* end) const {
    constexpr std::ptrdiff_t block = 8;
    for (; end - from >= block; from += block) {
      if (isPlainBlock(from)) {
        std::memcpy(to, from, block);
        to += block;
        continue;
      }
      for (std::ptrdiff_t i = 0; i < block; ++i) {
        to = write(to, from[i]);
      }
    }
    for (; from != end; ++from) {
      to = write(to, *from);
    }
    return to;
  }

 private:
  bool isPlainBlock(const char* from) const {
    const std::size_t sum =
        sizeOf(from[0]) + sizeOf(from[1]) + sizeOf(from[2]) + sizeOf(from[3]) +
        sizeOf(from[4]) + sizeOf(from[5]) + sizeOf(from[6]) + sizeOf(from[7]);
    return sum == 8;
  }

  unsigned char sizes[256] = {};  // 0: not asked for
  char texts[256][longestEscape];
};

// What is shown for each byte of a text; NUL stands for a byte not asked for.
class PrintableBytes {
 public:
  explicit PrintableBytes(const std::string& text) {
    askForBytes(
        text, [this](char byte) { return (*this)[byte] != '\0'; },
        [this](char byte) {
          shown[static_cast<unsigned char>(byte)] = shownByte(byte);
        });
  }

  char operator[](char byte) const {
    return shown[static_cast<unsigned char>(byte)];
  }

 private:
  char shown[256] = {};
};

void printPrintablePart(std::ostream& os, const std::string& text,
                        std::size_t from, std::size_t to) {
  for (std::size_t i = from; i < to; ++i) {
    os << shownByte(text[i]);
  }
}

void putPrintable(LineBuffer& piece, const PrintableBytes& printable,
                  const char* text, std::size_t size) {
  char* const out = piece.position();
  for (std::size_t i = 0; i < size; ++i) {
    out[i] = printable[text[i]];
  }
  piece.position() += size;
}

template <class Write>
std::size_t putEscapedPart(LineBuffer& piece, const std::string& text,
                           std::size_t from, Write write) {
  const std::size_t fitting = (piece.room() - 2) / longestEscape;
  const std::size_t to = from + std::min(fitting, text.size() - from);
  const char* const bytes = text.data();
  char* out = piece.position();
  if (from == 0) {
    *out++ = quoteOf(text);
  }
  out = write(out, bytes + from, bytes + to);
  if (to == text.size()) {
    *out++ = quoteOf(text);
  }
  piece.position() = out;
  return to;
}

// A part for which the stream has no room is printed plainly, which makes room.
template <class Write>
void printEscapedParts(std::ostream& os, const std::string& text, Write write) {
  std::size_t from = 0;
  do {
    LineBuffer piece(os);
    const std::size_t end = from + std::min(plainBytes, text.size() - from);
    if (piece.room() >= longestEscape * plainBytes + 2) {
      from = putEscapedPart(piece, text, from, write);
      piece.insert();
    } else {
      printEscapedPart(os, text, from, end);
      from = end;
    }
  } while (from < text.size());
}

template <class Write>
std::string escapedParts(const std::string& text, Write write) {
  std::string escaped;
  std::size_t from = 0;
  do {
    LineBuffer piece;
    from = putEscapedPart(piece, text, from, write);
    if (escaped.empty() && from < text.size()) {
      escaped.reserve(text.size() + 2);
    }
    escaped += piece.view();
  } while (from < text.size());
  return escaped;
}

// Calls `use` with what writes the escapes of a part of `text`.
template <class Use>
auto withWriter(const std::string& text, Use use) {
  if (text.size() < longText) {
    return use(writeEscapedBytes);
  }
  const Escapes escapes(text);
  return use([&escapes](char* to, const char* from, const char* end) {
    return escapes.write(to, from, end);
  });
}

}  // namespace

std::ostream& printEscapedPlainly(std::ostream& os, const std::string& text) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  printEscapedPart(os, text, 0, text.size());
  return os;
}

std::ostream& printEscaped(std::ostream& os, const std::string& text) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  withWriter(text, [&](auto write) { printEscapedParts(os, text, write); });
  return os;
}

std::string getEscapedPlainly(const std::string& text) {
  std::ostringstream os;
  printEscapedPlainly(os, text);
  return os.str();
}

// A fresh stream would have the global locale, which may group digits.
std::string getEscaped(const std::string& text) {
  if (std::locale() != std::locale::classic()) {
    return getEscapedPlainly(text);
  }
  return withWriter(text,
                    [&](auto write) { return escapedParts(text, write); });
}

std::ostream& printPrintablePlainly(std::ostream& os, const std::string& text) {
  printPrintablePart(os, text, 0, text.size());
  return os;
}

std::ostream& printPrintable(std::ostream& os, const std::string& text) {
  if ((os.flags() & std::ios_base::unitbuf) != 0) {
    return printPrintablePlainly(os, text);
  }
  const PrintableBytes printable(text);
  std::size_t from = 0;
  while (from < text.size()) {
    LineBuffer piece(os);
    const bool atOnce = piece.room() >= plainBytes;
    const std::size_t size =
        std::min(atOnce ? piece.room() : plainBytes, text.size() - from);
    if (atOnce) {
      putPrintable(piece, printable, text.data() + from, size);
      piece.insert();
    } else {
      printPrintablePart(os, text, from, from + size);
    }
    from += size;
  }
  return os;
}
