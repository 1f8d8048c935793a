// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cctype>
#include <iomanip>
#include <ostream>
#include <sstream>

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

// The escape that has a letter of its own, or null.
const char* namedEscape(char byte) {
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

}  // namespace

std::ostream& printEscaped(std::ostream& os, const std::string& text) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  const char quote = text.size() == 1 ? '\'' : '"';
  os << quote;
  for (const char byte : text) {
    printEscapedByte(os, byte);
  }
  return os << quote;
}

std::string getEscaped(const std::string& text) {
  std::ostringstream os;
  printEscaped(os, text);
  return os.str();
}

std::ostream& printPrintable(std::ostream& os, const std::string& text) {
  for (const char byte : text) {
    os << (isPrintable(byte) ? byte : '.');
  }
  return os;
}
