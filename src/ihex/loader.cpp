// SPDX-License-Identifier: MIT

#include "ihex/loader.h"

#include <algorithm>
#include <string>

#include "ihex/file_rules.h"
#include "ihex/record_decoder.h"
#include "ihex/record_types.h"

namespace qorutil_internal {

namespace {

// The reader shows a record with its line break, whatever its byte count is.
static_assert(TextReader::lookAhead >= longestRecord + 2);

// The length of the line whose record has `length` characters, with its line
// break; 0 where something else follows the record.
std::size_t endOfLine(const char* text, std::size_t length) {
  if (text[length] == '\n') {
    return length + 1;
  }
  return text[length] == '\r' && text[length + 1] == '\n' ? length + 2 : 0;
}

}  // namespace

Loader::Loader(const char* name, bool singleBlock)
    : path(name), reader(name), builder(singleBlock) {}

// Reads a line that holds nothing but a sound record of data or of an upper
// address; false where there is another, which is left as it is. Called for
// every line, and so worth the word.
inline bool Loader::readSoundLine() {
  const char* const text = reader.text();
  unsigned char* const data = builder.next();
  RecordHead head{};
  const std::size_t recordLength = decodeRecord(text, head, data);
  const std::size_t lineLength =
      recordLength == 0 ? 0 : endOfLine(text, recordLength);
  if (lineLength == 0) {
    return false;
  }
  if (head.type == dataRecord && head.count != 0) {
    builder.add(upperAddress, head.address, head.count);
  } else if (head.type == upperAddressRecord && head.count >= 2) {
    upperAddress = upperAddressOf(data);
  } else {
    return false;
  }
  reader.skip(lineLength);
  return true;
}

// Reads any line, by the steps of parseHexFile().
Loader::OddLine Loader::readOddLine() {
  if (reader.eof()) {
    reportMissingEnd();
    return OddLine::REFUSED;
  }
  std::string line;
  reader.getLine(line);
  if (reader.bad()) {
    line.clear();
  }
  if (isEndRecord(line)) {
    return OddLine::END;
  }
  IntelHexFile::hexfileline_t record{};
  IntelHexFile().parseLine(line, record);
  if (!isSupported(line, record)) {
    return OddLine::REFUSED;
  }
  if (record.type == dataRecord) {
    std::copy(record.data.begin(), record.data.end(), builder.next());
    builder.add(upperAddress, record.address, record.data.size());
  } else {
    upperAddress = upperAddressOf(record.data.data());
  }
  return OddLine::READ;
}

// Reads up to the end record; false at a line that ends the load before it.
bool Loader::readRecords() {
  OddLine line = OddLine::READ;
  while (line == OddLine::READ) {
    while (readSoundLine()) {
    }
    line = readOddLine();
  }
  return line == OddLine::END;
}

bool Loader::load() {
  if (!reader.isOpen()) {
    reportNotOpened(path);
    return false;
  }
  if (!readRecords()) {
    return false;
  }
  if (!builder.finish()) {
    reportNoSingleBlock();
    return false;
  }
  return true;
}

}  // namespace qorutil_internal
