// SPDX-License-Identifier: MIT
//
// The CRC-32 of segments, against a plain form of it and against zlib.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#ifdef QORHEX_TEST_ZLIB
#include <zlib.h>
#endif

#include <gtest/gtest.h>

#include "image/crc32.h"

namespace {

using bytes_t = std::vector<unsigned char>;

// One bit at a time.
std::uint32_t plainCrc32(const bytes_t& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const unsigned char byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xEDB88320U : crc >> 1U;
    }
  }
  return ~crc;
}

std::uint32_t crc32Of(const bytes_t& bytes) {
  Crc32 checksum;
  checksum.add(bytes.data(), bytes.size());
  return checksum.value();
}

bytes_t randomBytes(std::mt19937& generator, std::size_t size) {
  bytes_t bytes(size);
  std::generate(bytes.begin(), bytes.end(), [&generator] {
    return static_cast<unsigned char>(generator());
  });
  return bytes;
}

TEST(Crc32, OfKnownBytes) {
  const std::string digits = "123456789";
  EXPECT_EQ(crc32Of({}), 0U);
  EXPECT_EQ(crc32Of({digits.begin(), digits.end()}), 0xCBF43926U);
  EXPECT_EQ(crc32Of(bytes_t(32, 0xFF)), 0xFF6CAB0BU);
}

TEST(Crc32, OfEveryByteAloneIsThePlainOne) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const bytes_t bytes{static_cast<unsigned char>(byte)};
    EXPECT_EQ(crc32Of(bytes), plainCrc32(bytes)) << byte;
  }
}

TEST(Crc32, OfEverySizeIsThePlainOne) {
  std::mt19937 generator(1);
  for (std::size_t size = 0; size <= 300; ++size) {
    const bytes_t bytes = randomBytes(generator, size);
    EXPECT_EQ(crc32Of(bytes), plainCrc32(bytes)) << size;
  }
}

TEST(Crc32, PiecesMakeTheWhole) {
  std::mt19937 generator(2);
  for (int round = 0; round < 200; ++round) {
    const bytes_t bytes = randomBytes(generator, generator() % 1000);
    Crc32 checksum;
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t size =
          std::min<std::size_t>(generator() % 40, bytes.size() - at);
      checksum.add(bytes.data() + at, size);
      at += size;
    }
    EXPECT_EQ(checksum.value(), plainCrc32(bytes)) << round;
  }
}

TEST(Crc32, IsThatOfZlib) {
#ifdef QORHEX_TEST_ZLIB
  std::mt19937 generator(3);
  for (const std::size_t size :
       {0U, 1U, 7U, 8U, 9U, 255U, 4096U, 65537U, 1U << 20U, 5000011U}) {
    const bytes_t bytes = randomBytes(generator, size);
    const unsigned long expected =
        crc32(crc32(0, nullptr, 0), bytes.data(), static_cast<unsigned>(size));
    EXPECT_EQ(crc32Of(bytes), expected) << size;
  }
#else
  GTEST_SKIP() << "there is no zlib";
#endif
}

}  // namespace
