// SPDX-License-Identifier: MIT

#include "ihex/expected.h"

#include <gtest/gtest.h>

#include "support/hexrecord.h"

const std::string end = ":00000001FF\n";
const std::string tooShort =
    "<out>void IntelHexFile::parseLine(std::__cxx11::string&, "
    "IntelHexFile::hexfileline_t&): hexline to short\n<flush>";
const std::string zeroWarning =
    "<err>#ERROR: line.data.size() is zero\n<flush>";
const std::string noFit =
    "<err>#ERROR: records do not fit into a single block\n<flush>";
const std::string noEnd =
    "<err>#ERROR: end of file reached without EoF-record. HEX file might be "
    "corrupt.\n<flush>";

void expectBlocks(const IntelHexFile& image,
                  const std::vector<ExpectedBlock>& expected) {
  ASSERT_EQ(image.getBlockCount(), expected.size());
  EXPECT_EQ(image.hasData(), !expected.empty());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(image[i]->extAddress, expected[i].extAddress) << "block " << i;
    EXPECT_EQ(image[i]->address, expected[i].address) << "block " << i;
    EXPECT_EQ(image[i]->size, expected[i].data.size()) << "block " << i;
    EXPECT_EQ(image[i]->data, expected[i].data) << "block " << i;
  }
}

std::string dataLine(unsigned address, const Bytes& data) {
  return hexRecord(0, address, data) + "\n";
}

std::string dataLine(unsigned address, std::size_t size, unsigned char value) {
  return dataLine(address, Bytes(size, value));
}

std::string upperLine(unsigned upper) {
  return hexRecord(4, 0,
                   {static_cast<unsigned char>(upper >> 8),
                    static_cast<unsigned char>(upper & 0xFF)}) +
         "\n";
}

std::string corrupt(const std::string& line) {
  return "<err>#ERROR: corrupt line data in line \"" + line + "\"\n<flush>";
}

std::string unsupported(const std::string& line, const std::string& type) {
  return "<out>" + line + "\n<flush><err>#ERROR: unsupported record type " +
         "found (" + type + ")\n<flush>";
}

std::string unmarked(const std::string& text) {
  return text.substr(sizeof "<err>" - 1);
}
