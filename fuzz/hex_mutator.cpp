// SPDX-License-Identifier: MIT
//
// How libFuzzer changes Intel HEX texts: as any other, and then most lines get
// the byte count and the checksum of what they have become. Without that hardly
// one changed record in 256 would be read beyond its checksum.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size,
                                        std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                               std::size_t size,
                                               std::size_t maxSize,
                                               unsigned seed);

namespace {

constexpr std::size_t frame = 11;  // the characters of a record but its data
constexpr std::size_t mostData = 255;
constexpr char digits[] = "0123456789ABCDEF";

void putByte(char* text, std::size_t byte) {
  text[0] = digits[byte / 16 % 16];
  text[1] = digits[byte % 16];
}

unsigned valueOf(char digit) {
  const auto character = static_cast<unsigned char>(digit);
  return character <= '9' ? character - '0' : (character | 0x20U) - 'a' + 10;
}

// Whatever is no digit makes the checksum a wrong one.
void repair(char* line, std::size_t size, bool countToo) {
  if (size < frame || size % 2 == 0 || line[0] != ':') {
    return;
  }
  if (countToo && size <= frame + 2 * mostData) {
    putByte(line + 1, (size - frame) / 2);
  }
  unsigned sum = 0;
  for (std::size_t i = 1; i + 2 < size; i += 2) {
    sum += 16 * valueOf(line[i]) + valueOf(line[i + 1]);
  }
  putByte(line + size - 2, 256 - sum % 256);
}

}  // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                    std::size_t maxSize, unsigned seed) {
  size = LLVMFuzzerMutate(data, size, maxSize);
  std::minstd_rand random(seed);
  char* const text = reinterpret_cast<char*>(data);
  for (std::size_t begin = 0; begin < size;) {
    const void* const feed = std::memchr(text + begin, '\n', size - begin);
    const std::size_t end =
        feed == nullptr
            ? size
            : static_cast<std::size_t>(static_cast<const char*>(feed) - text);
    const bool hasReturn = end != begin && text[end - 1] == '\r';
    const unsigned long choice = random() % 8;
    if (choice != 0) {
      repair(text + begin, end - begin - (hasReturn ? 1 : 0), choice == 1);
    }
    begin = end + 1;
  }
  return size;
}
