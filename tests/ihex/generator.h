// SPDX-License-Identifier: MIT
//
// Random Intel HEX text, sound and damaged. The same seed gives the same text
// on every machine.

#ifndef QORUTIL_TESTS_IHEX_GENERATOR_H
#define QORUTIL_TESTS_IHEX_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Makes lines and files; each call gives another one.
class HexTextGenerator {
 public:
  explicit HexTextGenerator(std::uint64_t seed) : random(seed) {}

  /// A file of up to some dozens of lines, one in two without damage.
  std::string smallFile();

  /// A file of 60 to 200 KiB, so that lines lie across the edges of any
  /// buffer; a few hold a line that is longer than 64 KiB.
  std::string largeFile();

  /// A single line, without a newline at its end but perhaps with one inside.
  std::string line();

  /// A number from 0 up to, but not including, `limit`.
  std::size_t below(std::size_t limit) {
    return static_cast<std::size_t>(random() % limit);
  }

 private:
  using Lines = std::vector<std::string>;

  bool chance(unsigned percent) { return below(100) < percent; }

  std::vector<unsigned char> bytes(std::size_t count);
  std::string upperAddress();
  unsigned nextAddress(unsigned expected, unsigned lastAddress);
  std::size_t recordLength(std::size_t kind);
  Lines records(std::size_t textSize);
  void shuffle(Lines& lines);
  void damage(Lines& lines);
  std::string damaged(std::string text);
  std::string oddField(std::string text);
  std::string longLine(const std::string& text);
  std::string joined(const Lines& lines);
  std::string ending();
  void mutate(std::string& text);

  std::mt19937_64 random;
};

/// Gives `line` the checksum that its text adds up to, by the rule of strtol
/// for each pair.
void repairChecksum(std::string& line);

#endif  // QORUTIL_TESTS_IHEX_GENERATOR_H
