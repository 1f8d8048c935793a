// SPDX-License-Identifier: MIT

// Composes a binary message of length-prefixed fields, shows its bytes and
// reads it back. The device it is for speaks ISO 8859-1, the terminal UTF-8.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <qorutil/conversion.h>
#include <qorutil/formatting.h>
#include <qorutil/strings.h>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned long flags = 0x0B;

Bytes compose() {
  Bytes body;
  push1(body, Utf8ToIsoConverter("Gerät 7"));
  push2(body, "on\tline\r\n");
  push2(body, std::string("\0\x1B", 2));

  Bytes message{flags};
  push2(message, body);
  return message;
}

// Returns the field behind a length of `prefix` bytes at `position`, and moves
// that behind the field. A message that is too short throws std::out_of_range.
std::string take(const std::string& message, std::size_t& position,
                 std::size_t prefix) {
  std::size_t length = 0;
  for (; prefix > 0; --prefix) {
    length = length * 256 + static_cast<unsigned char>(message.at(position));
    ++position;
  }
  std::string field = message.substr(position, length);
  position += length;
  return field;
}

void show(const Bytes& message) {
  const unsigned char* const first = message.data();
  hexdump(std::cout, first, first + message.size(), "message", 8,
          HEXDUMP_OFFSET, true);

  const std::string text(message.begin(), message.end());
  printPrintable(std::cout << "as text: ", text) << '\n';

  const unsigned char bits = message[0];
  std::cout << "flags: " << std::internal << Binary{bits} << ", bits "
            << setBits2list<unsigned long>(bits, ",") << ", ";
  printSeparatedList(std::cout,
                     {{(bits & 1U) != 0, "urgent"},
                      {(bits & 4U) != 0, "encrypted"},
                      {(bits & 8U) != 0, "signed"}},
                     "|", "plain");
  std::cout << '\n';

  std::size_t position = 1;
  const std::string body = take(text, position, 2);
  position = 0;
  std::cout << "name: " << IsoToUtf8Converter(take(body, position, 1)) << '\n';
  std::cout << "state: " << getEscaped(take(body, position, 2)) << '\n';
  std::cout << "raw: " << getEscaped(take(body, position, 2)) << '\n';
}

}  // namespace

int main() {
  try {
    show(compose());
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
