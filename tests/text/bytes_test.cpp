// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/allocation.h"

namespace {

using testing::ElementsAre;
using Bytes = std::vector<unsigned char>;

Bytes pushed1(const std::string& source) {
  Bytes bytes;
  push1(bytes, source);
  return bytes;
}

Bytes pushed2(const std::string& source) {
  Bytes bytes;
  push2(bytes, source);
  return bytes;
}

// `prefix` followed by `count` bytes of `value`.
Bytes field(Bytes prefix, std::size_t count, unsigned char value) {
  prefix.insert(prefix.end(), count, value);
  return prefix;
}

TEST(Push1, EmptySourcesAppendTheByteZero) {
  EXPECT_THAT(pushed1(""), ElementsAre(0));
  Bytes bytes;
  push1(bytes, "");
  push1(bytes, Bytes());
  EXPECT_THAT(bytes, ElementsAre(0, 0));
}

TEST(Push2, EmptySourcesAppendTwoBytesZero) {
  EXPECT_THAT(pushed2(""), ElementsAre(0, 0));
  Bytes bytes;
  push2(bytes, "");
  push2(bytes, Bytes());
  EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0));
}

TEST(Push1, EverySourceGetsItsLengthInFront) {
  Bytes bytes;
  push1(bytes, "abc");
  push1(bytes, std::string("de"));
  push1(bytes, Bytes{0x66});
  EXPECT_THAT(bytes, ElementsAre(3, 0x61, 0x62, 0x63, 2, 0x64, 0x65, 1, 0x66));
}

TEST(Push2, EverySourceGetsItsLengthInFront) {
  Bytes bytes;
  push2(bytes, "abc");
  push2(bytes, std::string("de"));
  push2(bytes, Bytes{0x66});
  EXPECT_THAT(
      bytes, ElementsAre(0, 3, 0x61, 0x62, 0x63, 0, 2, 0x64, 0x65, 0, 1, 0x66));
}

TEST(Push1, LargestHonestLengthIs255) {
  EXPECT_EQ(pushed1(std::string(255, 'x')), field({0xFF}, 255, 'x'));
  EXPECT_EQ(pushed1(std::string(256, 'x')), field({0x00}, 256, 'x'));
}

TEST(Push1, LongSourceIsAppendedWholeBehindItsLowByte) {
  const std::string text(300, 'x');
  EXPECT_EQ(pushed1(text), field({0x2C}, 300, 'x'));
  Bytes fromText;
  push1(fromText, text.c_str());
  EXPECT_EQ(fromText, field({0x2C}, 300, 'x'));
  Bytes fromBytes;
  push1(fromBytes, Bytes(300, 'x'));
  EXPECT_EQ(fromBytes, field({0x2C}, 300, 'x'));
}

TEST(Push2, LengthIsBigEndian) {
  const std::string text(300, 'x');
  EXPECT_EQ(pushed2(text), field({0x01, 0x2C}, 300, 'x'));
  Bytes fromText;
  push2(fromText, text.c_str());
  EXPECT_EQ(fromText, field({0x01, 0x2C}, 300, 'x'));
  Bytes fromBytes;
  push2(fromBytes, Bytes(300, 'x'));
  EXPECT_EQ(fromBytes, field({0x01, 0x2C}, 300, 'x'));
}

TEST(Push2, LongSourceIsAppendedWholeBehindItsLowBytes) {
  EXPECT_EQ(pushed2(std::string(65535, 'x')), field({0xFF, 0xFF}, 65535, 'x'));
  EXPECT_EQ(pushed2(std::string(65536, 'x')), field({0x00, 0x00}, 65536, 'x'));
  EXPECT_EQ(pushed2(std::string(65537, 'x')), field({0x00, 0x01}, 65537, 'x'));
}

TEST(Push1, TextEndsAtItsFirstNul) {
  Bytes bytes;
  push1(bytes, "ab\0cd");
  EXPECT_THAT(bytes, ElementsAre(2, 0x61, 0x62));
}

TEST(Push2, TextEndsAtItsFirstNul) {
  Bytes bytes;
  push2(bytes, "ab\0cd");
  EXPECT_THAT(bytes, ElementsAre(0, 2, 0x61, 0x62));
}

TEST(Push, StringsAndVectorsMayHoldAnyByte) {
  std::string text;
  Bytes source;
  for (int byte = 0; byte < 256; ++byte) {
    text.push_back(static_cast<char>(byte));
    source.push_back(static_cast<unsigned char>(byte));
  }
  Bytes with1 = source;
  with1.insert(with1.begin(), 0x00);
  Bytes with2 = source;
  with2.insert(with2.begin(), {0x01, 0x00});
  EXPECT_EQ(pushed1(text), with1);
  EXPECT_EQ(pushed2(text), with2);
  Bytes bytes1;
  push1(bytes1, source);
  EXPECT_EQ(bytes1, with1);
  Bytes bytes2;
  push2(bytes2, source);
  EXPECT_EQ(bytes2, with2);
}

TEST(Push, HighBytesOfATextAreCopiedUnchanged) {
  Bytes bytes;
  push1(bytes, "\x80\xFF");
  push2(bytes, "\x80\xFF");
  EXPECT_THAT(bytes, ElementsAre(2, 0x80, 0xFF, 0, 2, 0x80, 0xFF));
}

TEST(Push, WhatTheVectorHeldStaysInFront) {
  Bytes bytes{9, 8};
  push1(bytes, "a");
  push2(bytes, "b");
  EXPECT_THAT(bytes, ElementsAre(9, 8, 1, 0x61, 0, 1, 0x62));
}

TEST(Push1, VectorAppendedToItselfIsTakenAsItWas) {
  Bytes bytes{1, 2, 3};
  bytes.shrink_to_fit();
  push1(bytes, bytes);
  EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 3, 1, 2, 3));
  Bytes roomy{1, 2, 3};
  roomy.reserve(100);
  push1(roomy, roomy);
  EXPECT_EQ(roomy, bytes);
}

TEST(Push2, VectorAppendedToItselfIsTakenAsItWas) {
  Bytes bytes{1, 2, 3};
  bytes.shrink_to_fit();
  push2(bytes, bytes);
  EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 0, 3, 1, 2, 3));
  Bytes roomy{1, 2, 3};
  roomy.reserve(100);
  push2(roomy, roomy);
  EXPECT_EQ(roomy, bytes);
}

// Runs `push` with room for the length, but no memory for the source.
template <class Push>
Bytes withoutMemory(Push push) {
  Bytes bytes{7};
  bytes.reserve(8);
  bool thrown = false;
  {
    const FailingAllocation noMemory(0);
    try {
      push(bytes);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
  }
  EXPECT_TRUE(thrown);
  return bytes;
}

TEST(Push1, OutOfMemoryLeavesTheLengthAppended) {
  const std::string text(1500, 'x');
  const Bytes source(1500, 'x');
  const auto length = ElementsAre(7, 0xDC);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push1(b, text.c_str()); }), length);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push1(b, text); }), length);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push1(b, source); }), length);
}

TEST(Push2, OutOfMemoryBetweenTheLengthBytesLeavesTheHighOne) {
  Bytes bytes(7, 9);
  bytes.shrink_to_fit();
  bytes.pop_back();  // room for one
  const std::string source(0x1234, 'x');
  const FailingAllocation noMemory(0);
  EXPECT_THROW(push2(bytes, source), std::bad_alloc);
  EXPECT_THAT(bytes, ElementsAre(9, 9, 9, 9, 9, 9, 0x12));
}

TEST(Push2, OutOfMemoryLeavesTheLengthAppended) {
  const std::string text(1500, 'x');
  const Bytes source(1500, 'x');
  const auto length = ElementsAre(7, 0x05, 0xDC);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push2(b, text.c_str()); }), length);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push2(b, text); }), length);
  EXPECT_THAT(withoutMemory([&](Bytes& b) { push2(b, source); }), length);
}

}  // namespace
