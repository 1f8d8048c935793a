// SPDX-License-Identifier: MIT
//
// Files known as no Intel HEX by their first bytes.

#include <string>

#include <gtest/gtest.h>

#include "reading/file_kind.h"

namespace {

using namespace std::string_literals;

std::string kindOf(const std::string& beginning) {
  const char* const text = otherKind(beginning);
  return text == nullptr ? "" : text;
}

const std::string sRecords =
    "these are S-records; objcopy -I srec -O ihex makes Intel HEX of them";
const std::string markup =
    "this is HTML or XML; a web page may have been saved in place of the file";
const std::string rawBytes =
    "these are raw bytes; objcopy -I binary -O ihex "
    "--change-addresses=<address> makes Intel HEX of them";
const std::string littleEndian =
    "this is UTF-16 text; iconv -f UTF-16LE -t UTF-8 makes plain text of it";
const std::string bigEndian =
    "this is UTF-16 text; iconv -f UTF-16BE -t UTF-8 makes plain text of it";
const std::string marked =
    "this is UTF-16 text; iconv -f UTF-16 -t UTF-8 makes plain text of it";

TEST(OtherKind, MagicNumbersStandAtTheBeginning) {
  EXPECT_EQ(kindOf("\x7F"
                   "ELF"),
            "this is an ELF file; objcopy -O ihex makes Intel HEX of it");
  EXPECT_EQ(kindOf("UF2\n"),
            "this is a UF2 file; uf2conv.py makes a binary file of it");
  EXPECT_EQ(kindOf("\x1F\x8B"), "this is a gzip file; gunzip unpacks it");
  EXPECT_EQ(kindOf("PK\x03\x04"), "this is a zip file; unzip unpacks it");
  EXPECT_EQ(
      kindOf("PK\x05\x06"),
      "this is a zip file without contents; get it from its source once more");
  EXPECT_EQ(kindOf("DfuSe"),
            "this is a DfuSe file; dfuse-pack.py -d makes binary files of its "
            "images");
  EXPECT_EQ(kindOf(" \x7F"
                   "ELF"),
            "");
  EXPECT_EQ(kindOf("PK"), "");
  EXPECT_EQ(kindOf("\x1F"), "");
}

TEST(OtherKind, TextsBeginBehindBlanksAndAMark) {
  for (const char* before :
       {"", "\n", " \t\r\n\n  ", "\xEF\xBB\xBF", "\xEF\xBB\xBF\n"}) {
    EXPECT_EQ(kindOf(before + "S00F00006865"s), sRecords) << before;
    EXPECT_EQ(kindOf(before + "<!DOCTYPE html>"s), markup) << before;
    EXPECT_EQ(kindOf(before + ":00000001FF"s), "") << before;
    EXPECT_EQ(kindOf(before + ""s), "") << before;
  }
}

TEST(OtherKind, AnSWithoutDigitsIsNoSRecord) {
  EXPECT_EQ(kindOf("S7"), "");
  EXPECT_EQ(kindOf("SA13"), "");
  EXPECT_EQ(kindOf("S/13"), "") << "before the digits";
  EXPECT_EQ(kindOf("S1 3"), "");
  EXPECT_EQ(kindOf("Some text"), "");
  EXPECT_EQ(kindOf("S9ff"), sRecords);
}

TEST(OtherKind, Utf16HasAMarkOrEverySecondByteIsNul) {
  EXPECT_EQ(kindOf("\xFF\xFE:\0"s), marked);
  EXPECT_EQ(kindOf("\xFE\xFF\0:"s), marked);
  EXPECT_EQ(kindOf(":\0"
                   "0\0\r\0\n\0"s),
            littleEndian);
  EXPECT_EQ(kindOf("\0:\0"
                   "0\0\n"s),
            bigEndian);
  EXPECT_EQ(kindOf(":\0"
                   "0\0\n"s),
            littleEndian)
      << "the line ends in the middle of a character";
  EXPECT_EQ(kindOf(":\0"s), rawBytes) << "too little to be sure";
  EXPECT_EQ(kindOf(":\0\1\0"s), rawBytes);
  EXPECT_EQ(kindOf(":\0"
                   "0\0"
                   "1\1"s),
            rawBytes);
}

TEST(OtherKind, ANulMakesRawBytesWhereverItIsAmongTheFirst) {
  for (std::size_t at = 0; at < kindRoom + 10; ++at) {
    std::string bytes(kindRoom + 10, 'x');
    bytes[at] = '\0';
    ASSERT_EQ(kindOf(bytes), at < kindRoom ? rawBytes : "") << at;
  }
}

TEST(FirstFilledLine, BlanksAndAMarkDoNotFillALine) {
  EXPECT_EQ(firstFilledLine(""), 0U);
  EXPECT_EQ(firstFilledLine(" \t\r\n\n"), 0U);
  EXPECT_EQ(firstFilledLine("\xEF\xBB\xBF\n"), 0U);
  EXPECT_EQ(firstFilledLine("x\n"), 1U);
  EXPECT_EQ(firstFilledLine("\xEF\xBB\xBFx\n"), 1U);
  EXPECT_EQ(firstFilledLine("\n \r\n\tx\ny"), 3U);
  EXPECT_EQ(firstFilledLine(std::string("\n\0", 2)), 2U);
  EXPECT_EQ(firstFilledLine("\n\xEF\xBB\xBFx"), 2U);
}

}  // namespace
