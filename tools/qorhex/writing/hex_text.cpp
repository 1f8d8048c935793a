// SPDX-License-Identifier: MIT

#include "writing/hex_text.h"

#include <algorithm>
#include <array>
#include <cstring>

// Elsewhere the compiler would take the vectors apart again.
#if (defined(__SSE2__) || defined(__ARM_NEON)) && \
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && !defined(QORUTIL_NO_VECTORS)
#define VECTORS_PAY 1
#endif

namespace {

constexpr std::size_t recordData = 16;
constexpr std::uint64_t edge = 0x10000;

// Start code, byte count, offset, type, checksum and line feed besides the
// data.
constexpr std::size_t longestLine = 12 + 2 * recordData;

constexpr std::size_t pieceSize = 65536;

using pairs_t = std::array<char, 512>;

constexpr pairs_t makePairs() {
  pairs_t pairs{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    pairs[2 * byte] = "0123456789ABCDEF"[byte >> 4U];
    pairs[2 * byte + 1] = "0123456789ABCDEF"[byte & 0xFU];
  }
  return pairs;
}

// The two digits of every byte.
constexpr pairs_t pairs = makePairs();

// Writes the digits of `byte` to `to` and returns the place behind them.
char* putByte(char* to, unsigned byte) {
  std::memcpy(to, pairs.data() + 2 * std::size_t{byte}, 2);
  return to + 2;
}

// Writes a record with its line feed to `to` and returns the place behind it.
char* putRecord(char* to, unsigned type, std::uint32_t offset,
                const unsigned char* data, std::size_t size) {
  *to++ = ':';
  unsigned sum = 0;
  for (const unsigned byte :
       {static_cast<unsigned>(size), offset >> 8U, offset & 0xFFU, type}) {
    to = putByte(to, byte);
    sum += byte;
  }
  for (std::size_t i = 0; i < size; ++i) {
    to = putByte(to, data[i]);
    sum += data[i];
  }
  to = putByte(to, -sum & 0xFFU);
  *to++ = '\n';
  return to;
}

#ifdef VECTORS_PAY

using bytes_t = unsigned char __attribute__((vector_size(8)));
using digits_t = unsigned char __attribute__((vector_size(16)));
using words_t = unsigned short __attribute__((vector_size(16)));

// Writes the digits of the eight bytes at `data` to `to`, and adds the bytes to
// `sums`.
void putDigits(char* to, const unsigned char* data, words_t& sums) {
  bytes_t bytes;
  std::memcpy(&bytes, data, sizeof bytes);
  const auto words = __builtin_convertvector(bytes, words_t);
  sums += words;
  const auto values =
      reinterpret_cast<digits_t>(words >> 4 | (words & 0xF) << 8);
  const auto isLetter = reinterpret_cast<digits_t>(values > 9);
  const digits_t digits = values + '0' + (isLetter & ('A' - '0' - 10));
  std::memcpy(to, &digits, sizeof digits);
}

// putRecord() for a data record of recordData bytes.
char* putFullRecord(char* to, std::uint32_t offset, const unsigned char* data) {
  const unsigned char frame[8] = {recordData,
                                  static_cast<unsigned char>(offset >> 8U),
                                  static_cast<unsigned char>(offset)};
  words_t sums{};
  to[0] = ':';
  putDigits(to + 1, frame, sums);  // those of the data go over its second half
  putDigits(to + 9, data, sums);
  putDigits(to + 25, data + 8, sums);
  std::uint64_t halves[2];
  std::memcpy(halves, &sums, sizeof halves);
  // No lane comes near 0x10000, nor does the sum of all.
  const auto sum = static_cast<unsigned>(
      (halves[0] + halves[1]) * 0x0001000100010001 >> 48U);
  to = putByte(to + 41, -sum & 0xFFU);
  *to++ = '\n';
  return to;
}

#else

char* putFullRecord(char* to, std::uint32_t offset, const unsigned char* data) {
  return putRecord(to, 0, offset, data, recordData);
}

#endif

// The records of a text, collected into pieces.
class HexText {
 public:
  explicit HexText(const TextSink& textSink)
      : sink(textSink), buffer(pieceSize) {}

  // Adds a data record; offset and size stay inside 64 KiB.
  void addData(std::uint64_t address, const unsigned char* data,
               std::size_t size) {
    const auto half = static_cast<std::uint32_t>(address / edge);
    if (half != upper) {
      const unsigned char bytes[] = {static_cast<unsigned char>(half >> 8U),
                                     static_cast<unsigned char>(half)};
      addRecord(4, 0, bytes, sizeof bytes);
      upper = half;
    }
    const auto offset = static_cast<std::uint32_t>(address % edge);
    if (size == recordData) {
      char* const to = room();
      used += static_cast<std::size_t>(putFullRecord(to, offset, data) - to);
    } else {
      addRecord(0, offset, data, size);
    }
  }

  void addStart(const startRecord_t& start) {
    const unsigned char bytes[] = {
        static_cast<unsigned char>(start.value >> 24U),
        static_cast<unsigned char>(start.value >> 16U),
        static_cast<unsigned char>(start.value >> 8U),
        static_cast<unsigned char>(start.value)};
    addRecord(start.type, 0, bytes, sizeof bytes);
  }

  void finish() {
    addRecord(1, 0, nullptr, 0);
    flush();
  }

 private:
  void addRecord(unsigned type, std::uint32_t offset, const unsigned char* data,
                 std::size_t size) {
    char* const to = room();
    used +=
        static_cast<std::size_t>(putRecord(to, type, offset, data, size) - to);
  }

  // The place for the next record.
  char* room() {
    if (buffer.size() - used < longestLine) {
      flush();
    }
    return buffer.data() + used;
  }

  void flush() {
    sink(buffer.data(), used);
    used = 0;
  }

  const TextSink& sink;
  std::vector<char> buffer;
  std::size_t used{0};
  std::uint32_t upper{0};
};

// Cuts the bytes of a segment into records.
class SegmentRecords {
 public:
  SegmentRecords(HexText& hexText, const segment_t& segment)
      : text(hexText), address(segment.address) {}

  void add(const unsigned char* data, std::size_t size) {
    while (size > 0) {
      const std::size_t taken = std::min(size, room() - held);
      if (taken == room()) {
        text.addData(address, data, taken);
        address += taken;
      } else {
        std::memcpy(begun + held, data, taken);
        held += taken;
        if (held == room()) {
          finish();
        }
      }
      data += taken;
      size -= taken;
    }
  }

  // Writes the record that is not full yet.
  void finish() {
    if (held > 0) {
      text.addData(address, begun, held);
      address += held;
      held = 0;
    }
  }

 private:
  // How many bytes the record at `address` can have.
  std::size_t room() const {
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(recordData, edge - address % edge));
  }

  HexText& text;
  std::uint64_t address;
  unsigned char begun[recordData]{};
  std::size_t held{0};
};

}  // namespace

void writeHexText(const std::vector<segment_t>& segments,
                  const std::vector<startRecord_t>& starts,
                  const TextSink& sink) {
  HexText text(sink);
  for (const segment_t& segment : segments) {
    SegmentRecords records(text, segment);
    for (const stretch_t& stretch : segment.stretches) {
      records.add(stretch.data, static_cast<std::size_t>(stretch.size));
    }
    records.finish();
  }
  for (const startRecord_t& start : starts) {
    text.addStart(start);
  }
  text.finish();
}
