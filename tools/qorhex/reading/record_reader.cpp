// SPDX-License-Identifier: MIT

#include "reading/record_reader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "reading/failure.h"
#include "telling/messages.h"

namespace {

enum recordType_t : unsigned {
  DATA = 0,
  END_OF_FILE = 1,
  SEGMENT_ADDRESS = 2,
  START_SEGMENT = 3,
  LINEAR_ADDRESS = 4,
  START_LINEAR = 5
};

// The number of data bytes that a record of each type must have; data records
// have any.
constexpr std::size_t requiredData[] = {0, 0, 2, 4, 2, 4};

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view plainEnd = ":00000001FF";

constexpr std::uint64_t addressSpace = std::uint64_t{1} << 32U;
constexpr std::uint32_t segmentSize = 0x10000;

// Tells whether the library leaves out `ending`, found behind a record: one
// carriage return, or blanks.
bool isPlainEnding(std::string_view ending) {
  return ending.empty() || ending == "\r" ||
         ending.find_first_not_of(' ') == std::string_view::npos;
}

}  // namespace

RecordReader::RecordReader(const TextInput& input, LineReader& reader)
    : text(input), lines(reader) {}

bool RecordReader::next(piece_t& piece) {
  if (wrapped.size != 0) {
    piece = wrapped;
    wrapped.size = 0;
    return true;
  }
  while (nextLine()) {
    record = {line.text};
    const unsigned type = record.type();
    if (type == DATA) {
      if (takeData(piece)) {
        return true;
      }
      continue;
    }
    if (type > START_LINEAR) {
      fail("unsupported record type " + hexText(type, 2));
    }
    if (record.size() != requiredData[type]) {
      fail("a record of type " + hexText(type, 2) + " has " +
           countText(requiredData[type], "data byte") + ", not " +
           std::to_string(record.size()));
    }
    switch (type) {
      case END_OF_FILE:
        plain = plain && std::string_view(line.text, line.size) == plainEnd;
        return false;
      case SEGMENT_ADDRESS:
      case LINEAR_ADDRESS:
        takeBase(type);
        break;
      default:
        takeEntry();
    }
  }
  throw Failure(REFUSED, text.name(),
                "line " + std::to_string(lastNumber) +
                    ": the file ends without an end record: " +
                    text.quoteLineAt(lastPosition));
}

// Reads the next record, whatever its type; false at the end of the text.
bool RecordReader::nextLine() {
  if (!lines.nextRecord(line)) {
    do {
      if (!lines.next(line)) {
        return false;
      }
      trimLine();
      plain = plain && line.size != 0;
    } while (line.size == 0);
    if (soundRecord(line.text, line.size) != line.size) {
      fail(describeDamage(line.text, line.size));
    }
  }
  lastPosition = line.position;
  lastNumber = line.number;
  return true;
}

void RecordReader::fail(const std::string& reason) const {
  throw Failure(REFUSED, text.name(),
                "line " + std::to_string(line.number) + ": " + reason + ": " +
                    quoteText(line.text, line.size));
}

// Cuts off what stands around a record.
void RecordReader::trimLine() {
  const char* begin = line.text;
  const char* const end = begin + line.size;
  if (line.number == 1 &&
      std::string_view(begin, line.size).substr(0, byteOrderMark.size()) ==
          byteOrderMark) {
    begin += byteOrderMark.size();
  }
  begin = std::find_if_not(begin, end, isBlank);
  const char* last = end;
  while (last != begin && isBlank(last[-1])) {
    --last;
  }
  plain = plain && begin == line.text &&
          isPlainEnding({last, static_cast<std::size_t>(end - last)});
  line.position += static_cast<std::uint64_t>(begin - line.text);
  line.text = begin;
  line.size = static_cast<std::size_t>(last - begin);
}

bool RecordReader::takeData(piece_t& piece) {
  const std::size_t size = record.size();
  const std::uint32_t offset = record.offset();
  if (size == 0) {
    plain = false;  // the library would warn, and end a block there
    return false;
  }
  piece = {base + offset, record.digits(0), size, 0,
           line.number,   line.position};
  if (segmented) {
    wrap(piece);
  } else if (std::uint64_t{base} + offset + size > addressSpace) {
    fail("the record passes 0xffffffff");
  }
  return true;
}

// Cuts `piece` at the end of its segment; what lies behind that goes to the
// segment's beginning.
void RecordReader::wrap(piece_t& piece) {
  const std::size_t size = piece.size;
  piece.size = std::min(size, std::size_t{segmentSize - record.offset()});
  wrapped = piece;
  wrapped.address = base;
  wrapped.digits = record.digits(piece.size);
  wrapped.skipped = piece.size;
  wrapped.size = size - piece.size;
}

void RecordReader::takeBase(unsigned type) {
  segmented = type == SEGMENT_ADDRESS;
  base = record.word(0) * (segmented ? 16 : segmentSize);
  plain = plain && !segmented;
}

void RecordReader::takeEntry() {
  plain = false;
  const std::uint32_t high = record.word(0);
  const std::uint32_t low = record.word(2);
  if (record.type() == START_LINEAR) {
    entry = hexText(high * segmentSize + low, 8);
  } else {
    entry = hexText(high * 16 + low, 8) + " (segment " + hexText(high, 4) +
            ", offset " + hexText(low, 4) + ")";
  }
}
