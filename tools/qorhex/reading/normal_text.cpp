// SPDX-License-Identifier: MIT

#include "reading/normal_text.h"

#include <algorithm>
#include <utility>

#include "reading/descriptor.h"

namespace {

// A record ends here at the latest, so that it needs one upper address only.
constexpr std::uint64_t recordEdge = 0x10000;

void appendByte(std::string& text, unsigned value) {
  constexpr char digits[] = "0123456789ABCDEF";
  text += digits[value >> 4U & 0xFU];
  text += digits[value & 0xFU];
}

}  // namespace

NormalText::NormalText(int descriptor, std::string subjectName)
    : file(descriptor), subject(std::move(subjectName)) {
  text.reserve(ioPiece + 2 * sizeof bytes + 64);
}

void NormalText::add(std::uint32_t address, const unsigned char* data,
                     std::size_t size) {
  std::uint64_t next = address;
  const unsigned char* const end = data + size;
  while (data != end) {
    if (count == sizeof bytes || next != start + count ||
        next % recordEdge == 0) {
      writeData();
      start = next;
    }
    const std::size_t room = std::min<std::size_t>(
        sizeof bytes - count,
        static_cast<std::size_t>(recordEdge - next % recordEdge));
    const std::size_t taken =
        std::min(room, static_cast<std::size_t>(end - data));
    std::copy_n(data, taken, bytes + count);
    count += taken;
    data += taken;
    next += taken;
  }
}

void NormalText::finish() {
  writeData();
  text += ":00000001FF\n";
  flush();
}

void NormalText::writeData() {
  if (count == 0) {
    return;
  }
  const auto address = static_cast<std::uint32_t>(start);
  if (address >> 16U != upper) {
    upper = address >> 16U;
    const unsigned char halves[] = {static_cast<unsigned char>(upper >> 8U),
                                    static_cast<unsigned char>(upper)};
    writeRecord(0, 4, halves, sizeof halves);
  }
  writeRecord(address & 0xFFFFU, 0, bytes, count);
  count = 0;
}

void NormalText::writeRecord(std::uint32_t offset, unsigned type,
                             const unsigned char* data, std::size_t size) {
  unsigned sum = static_cast<unsigned>(size) + (offset >> 8U) + offset + type;
  text += ':';
  appendByte(text, static_cast<unsigned>(size));
  appendByte(text, offset >> 8U);
  appendByte(text, offset);
  appendByte(text, type);
  for (std::size_t i = 0; i < size; ++i) {
    appendByte(text, data[i]);
    sum += data[i];
  }
  appendByte(text, 0U - sum);
  text += '\n';
  if (text.size() >= ioPiece) {
    flush();
  }
}

void NormalText::flush() {
  writeAll(file, text.data(), text.size(), subject);
  text.clear();
}
