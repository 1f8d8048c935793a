// SPDX-License-Identifier: MIT
//
// Texts to load, the blocks that they shall give, and the messages. Those are
// texts of a Capture's transcript, each with its mark.

#ifndef QORUTIL_TESTS_IHEX_EXPECTED_H
#define QORUTIL_TESTS_IHEX_EXPECTED_H

#include "qorutil/intelhex.h"

#include <cstddef>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

struct ExpectedBlock {
  unsigned extAddress;
  unsigned address;
  Bytes data;
};

/// Expects `image` to hold these blocks and no other.
void expectBlocks(const IntelHexFile& image,
                  const std::vector<ExpectedBlock>& expected);

/// A data record as a line of a file.
std::string dataLine(unsigned address, const Bytes& data);

/// A data record of `size` bytes of one value.
std::string dataLine(unsigned address, std::size_t size, unsigned char value);

/// An extended linear address record.
std::string upperLine(unsigned upper);

/// The end record.
extern const std::string end;

extern const std::string tooShort;
extern const std::string zeroWarning;
extern const std::string noFit;
extern const std::string noEnd;

std::string corrupt(const std::string& line);
std::string unsupported(const std::string& line, const std::string& type);

/// `text` without its mark: of two texts in a row on one stream the second has
/// none.
std::string unmarked(const std::string& text);

#endif  // QORUTIL_TESTS_IHEX_EXPECTED_H
