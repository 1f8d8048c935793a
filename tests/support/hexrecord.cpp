// SPDX-License-Identifier: MIT

#include "support/hexrecord.h"

std::string hexRecord(unsigned type, unsigned address,
                      const std::vector<unsigned char>& data) {
  std::string text = ":";
  unsigned sum = 0;
  const auto append = [&](unsigned byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    text += digits[byte >> 4 & 0xF];
    text += digits[byte & 0xF];
    sum += byte;
  };
  append(static_cast<unsigned>(data.size()));
  append(address >> 8 & 0xFF);
  append(address & 0xFF);
  append(type);
  for (const unsigned char byte : data) {
    append(byte);
  }
  append(0x100 - (sum & 0xFF));
  return text;
}
