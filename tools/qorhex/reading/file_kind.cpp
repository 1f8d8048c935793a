// SPDX-License-Identifier: MIT

#include "reading/file_kind.h"

#include <algorithm>

#include "reading/long_line.h"
#include "reading/record.h"
#include "reading/text_input.h"

namespace {

using namespace std::string_view_literals;

// Files known by their first bytes.
constexpr struct {
  std::string_view magic;
  const char* text;
} magicNumbers[] = {
    {"\x7F"
     "ELF"sv,
     "this is an ELF file; objcopy -O ihex makes Intel HEX of it"},
    {"UF2\n"sv, "this is a UF2 file; uf2conv.py makes a binary file of it"},
    {"\x1F\x8B"sv, "this is a gzip file; gunzip unpacks it"},
    {"PK\x03\x04"sv, "this is a zip file; unzip unpacks it"},
    {"PK\x05\x06"sv,
     "this is a zip file without contents; get it from its source once more"},
    {"DfuSe"sv,
     "this is a DfuSe file; dfuse-pack.py -d makes binary files of its images"},
    {"\xFF\xFE"sv,
     "this is UTF-16 text; iconv -f UTF-16 -t UTF-8 makes plain text of it"},
    {"\xFE\xFF"sv,
     "this is UTF-16 text; iconv -f UTF-16 -t UTF-8 makes plain text of it"},
};

constexpr const char* sRecords =
    "these are S-records; objcopy -I srec -O ihex makes Intel HEX of them";
constexpr const char* markup =
    "this is HTML or XML; a web page may have been saved in place of the file";
constexpr const char* littleEndian =
    "this is UTF-16 text; iconv -f UTF-16LE -t UTF-8 makes plain text of it";
constexpr const char* bigEndian =
    "this is UTF-16 text; iconv -f UTF-16BE -t UTF-8 makes plain text of it";
constexpr const char* rawBytes =
    "these are raw bytes; objcopy -I binary -O ihex "
    "--change-addresses=<address> makes Intel HEX of them";

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

// The position of the first character that is no blank, line feed or part of a
// byte-order mark at the beginning; the size of `text` without one.
std::size_t firstFilled(std::string_view text) {
  const std::size_t skipped =
      beginsWith(text, byteOrderMark) ? byteOrderMark.size() : 0;
  const auto* const begin = text.begin() + skipped;
  const auto* const found = std::find_if_not(
      begin, text.end(), [](char c) { return c == '\n' || isBlank(c); });
  return static_cast<std::size_t>(found - text.begin());
}

// A digit for the type and a byte count, as in "S113".
bool isRecordOfS(std::string_view text) {
  constexpr std::size_t headSize = 4;
  return text.size() >= headSize && text[0] == 'S' && text[1] >= '0' &&
         text[1] <= '9' && hexByte(text.data() + 2) < noHexDigit;
}

// Tells whether every second byte is a NUL, from `firstNul` (0 or 1) on, and
// the others are ASCII text. A last byte without the other half is left aside.
bool isWideText(std::string_view bytes, std::size_t firstNul) {
  constexpr std::size_t least = 4;
  if (bytes.size() < least) {
    return false;
  }
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const char character = bytes[i + 1 - firstNul];
    const bool isText = (character >= ' ' && character <= '~') ||
                        character == '\n' || isBlank(character);
    if (bytes[i + firstNul] != '\0' || !isText) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::uint64_t firstFilledLine(std::string_view beginning) {
  const std::size_t at = firstFilled(beginning);
  if (at == beginning.size()) {
    return 0;
  }
  return 1 + static_cast<std::uint64_t>(
                 std::count(beginning.begin(), beginning.begin() + at, '\n'));
}

const char* otherKind(std::string_view beginning) {
  beginning = beginning.substr(0, kindRoom);
  for (const auto& [magic, text] : magicNumbers) {
    if (beginsWith(beginning, magic)) {
      return text;
    }
  }
  const std::string_view filled = beginning.substr(firstFilled(beginning));
  if (isRecordOfS(filled)) {
    return sRecords;
  }
  if (beginsWith(filled, "<")) {
    return markup;
  }
  if (isWideText(beginning, 1)) {
    return littleEndian;
  }
  if (isWideText(beginning, 0)) {
    return bigEndian;
  }
  return beginning.find('\0') != std::string_view::npos ? rawBytes : nullptr;
}
