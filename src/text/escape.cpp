// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <locale>
#include <ostream>
#include <string_view>

#include "common/hex_pairs.h"
#include "common/insertion.h"
#include "common/stream_state.h"
#include "common/text_stream.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::getEscapedPlainly;
using qorutil_internal::insertText;
using qorutil_internal::printEscapedPlainly;
using qorutil_internal::printPrintablePlainly;
using qorutil_internal::StreamState;
using qorutil_internal::takesNumbers;
using qorutil_internal::takesTexts;
using qorutil_internal::writeHexPair;

struct NamedEscape {
  char byte;
  const char* text;
};

constexpr NamedEscape namedEscapes[] = {
    {'\0', "\\0"}, {'\a', "\\a"}, {'\b', "\\b"}, {'\t', "\\t"},  {'\n', "\\n"},
    {'\v', "\\v"}, {'\f', "\\f"}, {'\r', "\\r"}, {'\\', "\\\\"},
};

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

// The bytes from `from` to `to`, with the quotes at the ends of the text.
void printEscapedPart(std::ostream& os, const std::string& text,
                      std::size_t from, std::size_t to) {
  if (from == 0) {
    os << quoteOf(text);
  }
  for (; from < to; ++from) {
    printEscapedByte(os, text[from]);
  }
  if (to == text.size()) {
    os << quoteOf(text);
  }
}

// The flags of escaped texts; their fill character is '0'.
constexpr std::ios_base::fmtflags escapeFlags =
    std::ios_base::hex | std::ios_base::fixed;

void printShownPart(std::ostream& os, const std::string& text, std::size_t from,
                    std::size_t to) {
  for (; from < to; ++from) {
    os << shownByte(text[from]);
  }
}

// The most characters that a byte becomes.
constexpr std::size_t longestEscape = 4;

// What is inserted at once. The bytes of a piece and two quotes fit in.
constexpr std::size_t pieceSize = 1000;
constexpr std::size_t bytesOfAPiece = (pieceSize - 2) / longestEscape;

// From this size on it pays to find out first what becomes of each byte that
// occurs: isprint() is a call, and most bytes of a text occur often. Nothing is
// kept beyond a call, as the locale of the process may be another at the next.
constexpr std::size_t longText = 64;

// The same where no more than a character is found out.
constexpr std::size_t longPrintableText = 200;

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
  return writeHexPair(to + 2, static_cast<unsigned char>(byte));
}

char* writeEscapedBytes(char* to, const char* from, const char* end) {
  for (; from != end; ++from) {
    to = writeEscapedByte(to, *from);
  }
  return to;
}

// Calls `ask` for the bytes whose class has to be known: those that occur, or
// all of them where that is the quicker way.
template <class Known, class Ask>
void askForBytes(const std::string& text, Known known, Ask ask) {
  constexpr std::size_t manyBytes = 1000;
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

// What becomes of each byte of a text.
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

  // What writeEscapedBytes() writes, and up to longestEscape characters behind
  // it. Printable bytes mostly come in runs.
  char* write(char* to, const char* from, const char* end) const {
    constexpr std::ptrdiff_t block = 8;
    for (; end - from >= block; from += block) {
      if (isPlainBlock(from)) {
        std::memcpy(to, from, block);
        to += block;
        continue;
      }
      for (std::ptrdiff_t i = 0; i < block; ++i) {
        to = writeByte(to, from[i]);
      }
    }
    for (; from != end; ++from) {
      to = writeByte(to, *from);
    }
    return to;
  }

 private:
  std::size_t sizeOf(char byte) const {
    return sizes[static_cast<unsigned char>(byte)];
  }

  char* writeByte(char* to, char byte) const {
    const std::size_t size = sizeOf(byte);  // not behind a store of characters
    std::memcpy(to, texts[static_cast<unsigned char>(byte)], longestEscape);
    return to + size;
  }

  bool isPlainBlock(const char* from) const {
    const std::size_t sum =
        sizeOf(from[0]) + sizeOf(from[1]) + sizeOf(from[2]) + sizeOf(from[3]) +
        sizeOf(from[4]) + sizeOf(from[5]) + sizeOf(from[6]) + sizeOf(from[7]);
    return sum == 8;
  }

  unsigned char sizes[256] = {};  // 0: not asked for
  char texts[256][longestEscape];
};

// The piece that begins with the byte at `from`, with the quotes at the ends of
// the text.
template <class Write>
class EscapedPiece {
 public:
  EscapedPiece(const std::string& text, std::size_t from, Write write)
      : to(from + std::min(bytesOfAPiece, text.size() - from)) {
    if (from == 0) {
      *end++ = quoteOf(text);
    }
    end = write(end, text.data() + from, text.data() + to);
    if (to == text.size()) {
      *end++ = quoteOf(text);
    }
  }

  // Where the next piece begins.
  std::size_t next() const { return to; }

  std::string_view view() const {
    return {piece, static_cast<std::size_t>(end - piece)};
  }

 private:
  char piece[pieceSize];
  char* end = piece;
  std::size_t to;
};

template <class Write>
void printEscapedPieces(std::ostream& os, const std::string& text,
                        Write write) {
  std::size_t from = 0;
  do {
    const EscapedPiece<Write> piece(text, from, write);
    insertText(os, piece.view(), [&](std::ostream& stream) {
      printEscapedPart(stream, text, from, piece.next());
    });
    from = piece.next();
  } while (from < text.size());
}

template <class Write>
std::string escapedPieces(const std::string& text, Write write) {
  std::string escaped;
  std::size_t from = 0;
  do {
    const EscapedPiece<Write> piece(text, from, write);
    from = piece.next();
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

// What is shown for each byte of a text; NUL stands for a byte not asked for.
class PrintableBytes {
 public:
  explicit PrintableBytes(const std::string& text) {
    askForBytes(
        text, [this](char byte) { return (*this)(byte) != '\0'; },
        [this](char byte) {
          shown[static_cast<unsigned char>(byte)] = shownByte(byte);
        });
  }

  char operator()(char byte) const {
    return shown[static_cast<unsigned char>(byte)];
  }

 private:
  char shown[256] = {};
};

template <class Show>
void printShown(std::ostream& os, const std::string& text, const Show& show) {
  char piece[pieceSize];
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t size = std::min(pieceSize, text.size() - from);
    for (std::size_t i = 0; i < size; ++i) {
      piece[i] = show(text[from + i]);
    }
    insertText(os, {piece, size}, [&](std::ostream& stream) {
      printShownPart(stream, text, from, from + size);
    });
    from += size;
  }
}

}  // namespace

namespace qorutil_internal {

std::ostream& printEscapedPlainly(std::ostream& os, const std::string& text) {
  const StreamState restored(os);
  os.flags(escapeFlags);
  os.fill('0');
  printEscapedPart(os, text, 0, text.size());
  return os;
}

std::string getEscapedPlainly(const std::string& text) {
  TextStream os;
  printEscapedPlainly(os, text);
  return os.str();
}

std::ostream& printPrintablePlainly(std::ostream& os, const std::string& text) {
  printShownPart(os, text, 0, text.size());
  return os;
}

}  // namespace qorutil_internal

std::ostream& printEscaped(std::ostream& os, const std::string& text) {
  if (!takesNumbers(os)) {
    return printEscapedPlainly(os, text);
  }
  const StreamState restored(os);
  os.flags(escapeFlags);
  os.fill('0');
  withWriter(text, [&](auto write) { printEscapedPieces(os, text, write); });
  return os;
}

// A fresh stream would have the global locale, which may group digits.
std::string getEscaped(const std::string& text) {
  if (std::locale() != std::locale::classic()) {
    return getEscapedPlainly(text);
  }
  return withWriter(text,
                    [&](auto write) { return escapedPieces(text, write); });
}

std::ostream& printPrintable(std::ostream& os, const std::string& text) {
  if (!takesTexts(os)) {
    return printPrintablePlainly(os, text);
  }
  if (text.size() < longPrintableText) {
    printShown(os, text, shownByte);
  } else {
    printShown(os, text, PrintableBytes(text));
  }
  return os;
}
