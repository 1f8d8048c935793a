// SPDX-License-Identifier: MIT
//
// Images for the tests of the units of qorhex, as plain maps from address to
// byte.

#ifndef QORUTIL_TESTS_TOOLS_QORHEX_BYTES_H
#define QORUTIL_TESTS_TOOLS_QORHEX_BYTES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "image/numbers.h"
#include "image/segments.h"

/// The bytes of an image by their addresses.
using ByteMap = std::map<std::uint64_t, unsigned char>;

/// Returns the bytes of `segments`. An address that occurs twice, and a segment
/// whose stretches do not make it up, add an entry that no image has.
inline ByteMap bytesOf(const std::vector<segment_t>& segments) {
  constexpr std::uint64_t wrong = std::uint64_t{1} << 40U;
  ByteMap bytes;
  for (const segment_t& segment : segments) {
    std::uint64_t next = segment.address;
    for (const stretch_t& stretch : segment.stretches) {
      if (stretch.address != next || stretch.size == 0) {
        bytes[wrong] = 1;
      }
      for (std::uint64_t i = 0; i < stretch.size; ++i) {
        if (!bytes.emplace(stretch.address + i, stretch.data[i]).second) {
          bytes[wrong] = 2;
        }
      }
      next = stretch.end();
    }
    if (segment.size == 0 || next != segment.end()) {
      bytes[wrong] = 3;
    }
  }
  return bytes;
}

/// Segments together with their bytes.
class OwnedSegments {
 public:
  /// Makes the segments of `bytes`, cut into stretches at random where a
  /// `generator` is given; else each has one.
  explicit OwnedSegments(const ByteMap& bytes,
                         std::mt19937* generator = nullptr) {
    for (const auto& [address, byte] : bytes) {
      const bool touches =
          !segments.empty() && segments.back().end() == address;
      if (!touches) {
        segments.push_back({address, 0, {}});
      }
      const bool cut = generator != nullptr && (*generator)() % 4 == 0;
      if (!touches || cut) {
        data.push_back(std::make_unique<std::vector<unsigned char>>());
        segments.back().stretches.push_back({address, nullptr, 0});
      }
      data.back()->push_back(byte);
      ++segments.back().size;
      stretch_t& stretch = segments.back().stretches.back();
      stretch.data = data.back()->data();
      stretch.size = data.back()->size();
    }
  }

  /// Makes one segment of `size` bytes of `value` at each of `addresses`.
  OwnedSegments(const std::vector<std::uint64_t>& addresses, std::size_t size,
                unsigned char value = 0) {
    for (const std::uint64_t address : addresses) {
      data.push_back(std::make_unique<std::vector<unsigned char>>(size, value));
      segments.push_back(
          {address, size, {{address, data.back()->data(), size}}});
    }
  }

  std::vector<segment_t> segments;

 private:
  std::vector<std::unique_ptr<std::vector<unsigned char>>> data;
};

/// Returns up to `most` runs of up to `longest` random bytes between `first`
/// and `last`, most of them close to each other. The last address is among them
/// at times.
inline ByteMap randomBytes(std::mt19937& generator, std::uint64_t first,
                           std::uint64_t last, unsigned most,
                           unsigned longest) {
  ByteMap bytes;
  for (unsigned runs = static_cast<unsigned>(generator()) % (most + 1);
       runs > 0; --runs) {
    const std::uint64_t start = first + generator() % (last - first + 1);
    const std::uint64_t size = 1 + generator() % longest;
    for (std::uint64_t i = start; i < start + size && i <= last; ++i) {
      bytes[i] = static_cast<unsigned char>(generator());
    }
  }
  return bytes;
}

/// Returns `ranges` as in "10-19 30-39 ".
inline std::string textOf(const std::vector<range_t>& ranges) {
  std::string text;
  for (const range_t& range : ranges) {
    text +=
        std::to_string(range.first) + '-' + std::to_string(range.last) + ' ';
  }
  return text;
}

#endif  // QORUTIL_TESTS_TOOLS_QORHEX_BYTES_H
