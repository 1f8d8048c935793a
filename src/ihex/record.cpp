// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"
#include "qorutil/strings.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "ihex/hex_digits.h"
#include "ihex/record_decoder.h"
#include "ihex/record_types.h"

namespace {

// The name that the two messages on std::cout begin with.
constexpr char parseLineName[] =
    "void IntelHexFile::parseLine(std::__cxx11::string&, "
    "IntelHexFile::hexfileline_t&)";

// A field is worth what strtol makes of it, signs, blanks and unfinished
// digits included. Throws std::out_of_range for a position beyond the end.
long hexField(const std::string& line, std::size_t position,
              std::size_t length) {
  return std::strtol(line.substr(position, length).c_str(), nullptr, 16);
}

// Takes blanks away at both ends, then the carriage returns. Blanks that stand
// before a carriage return survive, on purpose.
void cleanUp(std::string& hexline) {
  const std::size_t front = hexline.find_first_not_of(' ');
  hexline.erase(0, front);
  rightTrim(hexline, " ");
  hexline.erase(std::remove(hexline.begin(), hexline.end(), '\r'),
                hexline.end());
}

// The sum of all bytes of the line, the checksum and whatever follows it.
unsigned long sumOfBytes(const std::string& hexline) {
  unsigned long sum = 0;
  for (std::size_t position = 1; position < hexline.size(); position += 2) {
    sum += static_cast<unsigned long>(hexField(hexline, position, 2));
  }
  return sum;
}

// Parses a line that holds a sound record with data and nothing else but a
// carriage return at its end: the plain way, below, would find nothing to
// report. Everything else is left to it, untouched.
bool parseSoundLine(std::string& hexline, IntelHexFile::hexfileline_t& line) {
  std::size_t length = hexline.size();
  if (length != 0 && hexline[length - 1] == '\r') {
    --length;
  }
  if (length < 13 || !line.data.empty()) {
    return false;
  }
  const unsigned count = qorutil_internal::hexPair(hexline.data() + 1);
  if (length != 11 + 2 * std::size_t{count}) {
    return false;
  }
  qorutil_internal::RecordHead head{};
  line.data.resize(count);
  if (qorutil_internal::decodeRecord(hexline.data(), head, line.data.data()) ==
      0) {
    line.data.clear();
    return false;
  }
  hexline.resize(length);
  line.count = head.count;
  line.address = head.address;
  line.type = head.type;
  return true;
}

}  // namespace

bool IntelHexFile::hexfileline_t::operator<(const hexfileline_t& other) const {
  if (extAddress != other.extAddress) {
    return extAddress < other.extAddress;
  }
  return address < other.address;
}

void IntelHexFile::parseLine(std::string& hexline, hexfileline_t& line) {
  line.type = qorutil_internal::noRecord;
  if (parseSoundLine(hexline, line)) {
    return;
  }
  cleanUp(hexline);
  if (hexline.size() < 11 || hexline[0] != ':') {
    std::cout << parseLineName << ": hexline to short" << std::endl;
    return;
  }

  const long count = hexField(hexline, 1, 2);
  line.count = static_cast<std::uint64_t>(count);
  line.address = static_cast<std::uint16_t>(hexField(hexline, 3, 4));
  const long type = hexField(hexline, 7, 2);
  if (count == 0 && (type & 0xFFFF) == 0 && line.address == 0) {
    return;
  }
  if (count < 0) {
    return;
  }

  line.data.resize(static_cast<std::size_t>(count));
  if (line.data.empty()) {
    std::cerr << "#ERROR: line.data.size() is zero" << std::endl;
  }
  for (std::size_t i = 0; i < line.data.size(); ++i) {
    const std::size_t position = 9 + 2 * i;
    line.data[i] = static_cast<unsigned char>(hexField(hexline, position, 2));
    if (position + 2 == hexline.size()) {
      return;
    }
  }

  if ((sumOfBytes(hexline) & 0xFF) != 0) {
    std::cerr << "#ERROR: checksum error." << std::endl;
    return;
  }
  const std::uint64_t expectedSize = 11 + 2 * line.count;
  if (hexline.size() != expectedSize) {
    std::cout << parseLineName << ": second unexpected end of line"
              << std::endl;
    // As texts: decimal, whatever the stream's flags are.
    std::cout << std::to_string(expectedSize) << ", "
              << std::to_string(hexline.size()) << std::endl;
    return;
  }
  line.type = static_cast<std::uint8_t>(type);
}
