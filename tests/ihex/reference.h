// SPDX-License-Identifier: MIT
//
// The reading of Intel HEX files once more, as plainly as it can be said: each
// field a substring that goes through strtol, the records in an ordered set,
// one step after the other. Nothing of it is shared with the library; the two
// are held against each other on random input.

#ifndef QORUTIL_TESTS_IHEX_REFERENCE_H
#define QORUTIL_TESTS_IHEX_REFERENCE_H

#include <cstdint>
#include <istream>
#include <ostream>
#include <set>
#include <string>
#include <vector>

/// A record, the fields as in IntelHexFile::hexfileline_t.
struct ReferenceRecord {
  std::uint8_t type{0};
  std::uint16_t extAddress{0};
  std::uint16_t address{0};
  std::uint64_t count{0};
  std::vector<unsigned char> data;

  bool operator<(const ReferenceRecord& other) const;
};

/// A block, the fields as in IntelHexFileBlock.
struct ReferenceBlock {
  std::vector<unsigned char> data;
  std::uint16_t extAddress{0};
  std::uint16_t address{0};
  std::uint64_t size{0};
};

/// Reads records, files and blocks; the messages go to two given streams.
class ReferenceReader {
 public:
  using Records = std::set<ReferenceRecord>;
  using Blocks = std::vector<ReferenceBlock>;

  /// The streams stand for std::cout and std::cerr and are not owned.
  ReferenceReader(std::ostream& standardOutput, std::ostream& standardError)
      : out(standardOutput), err(standardError) {}

  /// Does what IntelHexFile::parseLine() does.
  void parseLine(std::string& hexline, ReferenceRecord& line);

  /// Does what IntelHexFile::parseHexFile() does.
  bool parseHexFile(std::istream& file, Records& lines);

  /// Does what IntelHexFile::load() does with a file that could be opened; the
  /// new blocks are appended to `blocks`.
  bool load(std::istream& file, bool singleBlock, Blocks& blocks);

 private:
  void createNewBlock(Records::const_iterator first,
                      Records::const_iterator last, Blocks& blocks);

  std::ostream& out;
  std::ostream& err;
};

#endif  // QORUTIL_TESTS_IHEX_REFERENCE_H
