// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <cstddef>
#include <cstring>

namespace {

using Bytes = std::vector<unsigned char>;

void pushByte(Bytes& bytes, std::size_t value) {
  bytes.push_back(static_cast<unsigned char>(value & 0xFF));
}

void pushLength1(Bytes& bytes, std::size_t length) {
  pushByte(bytes, length);
}

void pushLength2(Bytes& bytes, std::size_t length) {
  pushByte(bytes, length >> 8);
  pushByte(bytes, length);
}

}  // namespace

void push1(Bytes& bytes, const char* source) {
  const std::size_t length = std::strlen(source);
  pushLength1(bytes, length);
  bytes.insert(bytes.end(), source, source + length);
}

void push1(Bytes& bytes, const std::string& source) {
  pushLength1(bytes, source.size());
  bytes.insert(bytes.end(), source.begin(), source.end());
}

void push1(Bytes& bytes, const Bytes& source) {
  if (&source == &bytes) {
    push1(bytes, Bytes(source));
    return;
  }
  pushLength1(bytes, source.size());
  bytes.insert(bytes.end(), source.begin(), source.end());
}

void push2(Bytes& bytes, const char* source) {
  const std::size_t length = std::strlen(source);
  pushLength2(bytes, length);
  bytes.insert(bytes.end(), source, source + length);
}

void push2(Bytes& bytes, const std::string& source) {
  pushLength2(bytes, source.size());
  bytes.insert(bytes.end(), source.begin(), source.end());
}

void push2(Bytes& bytes, const Bytes& source) {
  if (&source == &bytes) {
    push2(bytes, Bytes(source));
    return;
  }
  pushLength2(bytes, source.size());
  bytes.insert(bytes.end(), source.begin(), source.end());
}
