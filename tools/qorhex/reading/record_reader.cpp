// SPDX-License-Identifier: MIT

#include "reading/record_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "reading/file_kind.h"
#include "reading/number_text.h"

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

// Where the fields of a record stand in it.
constexpr std::uint64_t countAt = 1;
constexpr std::uint64_t typeAt = 7;
constexpr std::uint64_t dataAt = 9;

constexpr std::uint64_t addressSpace = std::uint64_t{1} << 32U;
constexpr std::uint32_t segmentSize = 0x10000;

std::uint32_t fieldAt(const unsigned char* bytes) {
  return bytes[0] * 256U + bytes[1];
}

// The characters that a line takes whose record has `length`; 0 where something
// else follows the record.
std::size_t withLineEnd(const char* text, std::size_t length) {
  if (text[length] == '\n') {
    return length + 1;
  }
  return text[length] == '\r' && text[length + 1] == '\n' ? length + 2 : 0;
}

// Cuts off the line end's carriage return.
std::string_view withoutReturn(std::string_view line) {
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  return line;
}

std::size_t markSize(std::string_view line, std::uint64_t number) {
  return number == 1 && line.substr(0, byteOrderMark.size()) == byteOrderMark
             ? byteOrderMark.size()
             : 0;
}

// What stands between the blanks of `line`, behind the first `skipped`.
std::string_view trimmed(std::string_view line, std::size_t skipped) {
  line.remove_prefix(skipped);
  const auto* const begin = std::find_if_not(line.begin(), line.end(), isBlank);
  const auto* last = line.end();
  while (last != begin && isBlank(last[-1])) {
    --last;
  }
  return line.substr(static_cast<std::size_t>(begin - line.begin()),
                     static_cast<std::size_t>(last - begin));
}

bool isEndRecord(const lineBody_t& body) {
  recordHead_t head{};
  unsigned char data[maxRecordData];
  return body.size == recordFrame &&
         decodeRecordReference(body.head.data(), recordFrame, head, data) !=
             0 &&
         head.type == END_OF_FILE;
}

}  // namespace

RecordReader::RecordReader(TextInput& text, const problemSink_t& problemSink,
                           startCheck_t startCheck)
    : input(text), sink(problemSink), checkStart(std::move(startCheck)) {}

// Lines that are a sound record and nothing else, in other words nearly all,
// are taken where they lie; the others go the way of readLine().
bool RecordReader::next(unsigned char* room, piece_t& piece) {
  if (wrapped.size != 0) {
    piece = wrapped;
    std::copy_n(wrappedBytes, wrapped.size, room);
    wrapped.size = 0;
    return true;
  }
  while (!ended) {
    const char* const text = input.text();
    recordHead_t head{};
    const std::size_t length = decodeRecord(text, head, room);
    const std::size_t taken = length == 0 ? 0 : withLineEnd(text, length);
    step_t step = step_t::NOTHING;
    if (taken != 0 && taken <= input.left()) {
      ++number;
      line = {{text, length}, 0, false, false};
      input.take(taken);
      if (head.type == DATA && head.size != 0 && !segmented && placeKnown) {
        piece = {base + head.offset, head.size, number, dataAt + 1};
        if (piece.end() <= addressSpace) {
          return true;
        }
      }
      step = takeRecord(head, room, piece);
    } else if (text[0] == '\n' && input.left() != 0) {
      ++number;
      line = {};
      input.take(1);
    } else {
      step = readLine(room, piece);
    }
    if (step == step_t::PIECE) {
      return true;
    }
    ended = step == step_t::END;
  }
  return false;
}

RecordReader::step_t RecordReader::takeRecord(const recordHead_t& head,
                                              unsigned char* room,
                                              piece_t& piece) {
  if (head.type == DATA) {
    return takeData(head, room, piece);
  }
  if (head.type > START_LINEAR) {
    refuse(typeAt,
           "unsupported record type " + hexText(head.type, 2) +
               "; 00 to 05 are understood",
           false);
    return step_t::NOTHING;
  }
  const bool address =
      head.type == SEGMENT_ADDRESS || head.type == LINEAR_ADDRESS;
  const std::size_t required = requiredData[head.type];
  if (head.size != required) {
    refuse(countAt,
           "a record of type " + hexText(head.type, 2) + " has " +
               countText(required, "data byte") + ", not " +
               std::to_string(head.size) +
               "; the byte count or the type is wrong",
           address);
    return step_t::NOTHING;
  }
  if (head.type == END_OF_FILE) {
    warnAboutRest();
    return step_t::END;
  }
  if (address) {
    segmented = head.type == SEGMENT_ADDRESS;
    base = fieldAt(room) * (segmented ? 16 : segmentSize);
    placeKnown = true;
  } else {
    takeStart(head.type, room);
  }
  return step_t::NOTHING;
}

RecordReader::step_t RecordReader::takeData(const recordHead_t& head,
                                            unsigned char* room,
                                            piece_t& piece) {
  if (head.size == 0 || !placeKnown) {
    return step_t::NOTHING;
  }
  piece = {base + head.offset, head.size, number, line.indent + dataAt + 1};
  if (segmented) {
    wrap(piece, room);
  } else if (piece.end() > addressSpace) {
    refuse(dataAt + 2 * (addressSpace - piece.address),
           "the record passes the address 0xffffffff; cut it there, "
           "or correct its address",
           false);
    return step_t::NOTHING;
  }
  return step_t::PIECE;
}

// Cuts `piece` at the end of its segment; what lies behind that goes to the
// segment's beginning.
void RecordReader::wrap(piece_t& piece, const unsigned char* bytes) {
  const std::uint32_t room = segmentSize - (piece.address - base);
  if (piece.size <= room) {
    return;
  }
  wrapped = {base, piece.size - room, piece.line,
             piece.column + 2 * std::uint64_t{room}};
  std::copy_n(bytes + room, wrapped.size, wrappedBytes);
  piece.size = room;
}

void RecordReader::takeStart(unsigned type, const unsigned char* bytes) {
  const std::uint32_t value = fieldAt(bytes) << 16U | fieldAt(bytes + 2);
  const auto known = std::find_if(
      starts.begin(), starts.end(),
      [type](const startAddress_t& start) { return start.type == type; });
  if (known != starts.end() && known->value != value) {
    refuse(dataAt,
           "a second start address " + hexText(value, 8) + ", that of line " +
               std::to_string(known->line) + " is " + hexText(known->value, 8) +
               "; keep one of them",
           false);
    return;
  }
  const startAddress_t start{type, value, number};
  const verdict_t verdict = checkStart(start);
  const bool isSound = verdict.text.empty();
  if (!isSound && verdict.severity == severity_t::ERROR) {
    refuse(dataAt, verdict.text, false);
    return;
  }
  if (!isSound) {
    report(severity_t::WARNING, line.indent + dataAt + 1, verdict.text, true);
  }
  if (known == starts.end()) {
    starts.push_back(start);
  }
}

RecordReader::step_t RecordReader::readLine(unsigned char* room,
                                            piece_t& piece) {
  if (!findLine()) {
    reportMissingEnd();
    return step_t::END;
  }
  return checkLine(room, piece);
}

// Takes the next line, reading more of it where it is not complete; false at
// the end of the text.
bool RecordReader::findLine() {
  std::size_t searched = 0;
  const char* feed = nullptr;
  bool more = true;
  while (more) {
    feed = static_cast<const char*>(
        std::memchr(input.text() + searched, '\n', input.left() - searched));
    if (feed != nullptr || endsHere()) {
      break;
    }
    searched = input.left();
    if (input.isFull()) {
      ++number;
      longLine = LongLine(markSize({input.text(), input.left()}, number));
      line = {{}, 0, true, true};
      readLongLine(false);
      return true;
    }
    more = input.readMore();
  }
  if (input.left() == 0) {
    return false;
  }
  const char* const text = input.text();
  const std::size_t size =
      feed == nullptr ? input.left() : static_cast<std::size_t>(feed - text);
  ++number;
  line = {withoutReturn({text, size}), 0, false, false};
  input.take(size + (feed == nullptr ? 0 : 1));
  return true;
}

// Tells whether what is left of something that may stay open is the end record,
// if nothing but the line's end is missing.
bool RecordReader::endsHere() const {
  if (input.isRegular()) {
    return false;
  }
  const std::string_view text(input.text(), input.left());
  const std::string_view body = trimmed(text, markSize(text, number + 1));
  return isEndRecord({body, body.size(), body.size()});
}

// Reads the line that fills the buffer to its end; unless it shall be read as a
// `whole`, as far as it matters.
void RecordReader::readLongLine(bool whole) {
  do {
    const char* const text = input.text();
    const std::size_t left = input.left();
    for (std::size_t i = 0; i < left; ++i) {
      if (text[i] == '\n') {
        input.take(i + 1);
        endLongLine();
        return;
      }
      longLine.add(text[i]);
      if (!whole && longLine.isLost()) {
        input.take(i + 1);
        return;
      }
    }
    input.take(left);
    if (!input.isRegular() && !longLine.isBlankLine() &&
        isEndRecord(longLine.body())) {
      break;
    }
  } while (input.readMore());
  endLongLine();
}

void RecordReader::endLongLine() {
  longLine.end();
  line.isOpen = false;
}

RecordReader::step_t RecordReader::checkLine(unsigned char* room,
                                             piece_t& piece) {
  lineBody_t body{};
  if (line.isLong) {
    if (longLine.isBlankLine()) {
      return step_t::NOTHING;
    }
    line.indent = longLine.indent();
    body = longLine.body();
  } else {
    const std::string_view text =
        trimmed(line.text, markSize(line.text, number));
    if (text.empty()) {
      return step_t::NOTHING;
    }
    line.indent = static_cast<std::uint64_t>(text.data() - line.text.data());
    body = bodyOf(text);
  }
  recordHead_t head{};
  if (decodeRecordReference(body.head.data(), body.head.size(), head, room) ==
      body.size) {
    return takeRecord(head, room, piece);
  }
  const damage_t damage = describeDamage(body);
  const bool address = mayBeAddress(body);
  if (reportOtherKind()) {
    return step_t::END;
  }
  refuse(damage.at, damage.text, address);
  if (line.isOpen) {
    readLongLine(true);
  }
  return step_t::NOTHING;
}

// Counts the lines behind the end record, blank ones left aside.
void RecordReader::warnAboutRest() {
  if (!input.isRegular()) {
    return;
  }
  std::uint64_t count = 0;
  problem_t problem{severity_t::WARNING, input.name(), 0, 1, {}, {}};
  while (findLine()) {
    const bool blank =
        line.isLong ? longLine.isBlankLine() : trimmed(line.text, 0).empty();
    if (!blank && count++ == 0) {
      problem.line = number;
      problem.excerpt =
          line.isLong ? longLine.excerpt(1) : excerptOf(line.text, 1);
    }
    if (line.isOpen) {
      readLongLine(true);
    }
  }
  if (count != 0) {
    problem.text = countText(count, "line") + " behind the end record " +
                   (count == 1 ? "is" : "are") + " left out";
    sink(problem);
  }
}

void RecordReader::reportMissingEnd() {
  const std::uint64_t size = line.isLong ? longLine.size() : line.text.size();
  number = std::max<std::uint64_t>(number, 1);
  report(severity_t::ERROR, size + 1,
         "the text ends without an end record; the file was cut, "
         "or :00000001FF is missing");
}

// Reports what the text is if it is known as no Intel HEX; the line at hand is
// no record.
bool RecordReader::reportOtherKind() {
  if (firstFilledLine(input.beginning()) != number) {
    return false;
  }
  readBeginning();
  const char* const kind = otherKind(input.beginning());
  if (kind == nullptr) {
    return false;
  }
  problem_t problem{severity_t::ERROR, input.name(), 1, 1, kind, {}};
  if (number == 1) {
    problem.excerpt =
        line.isLong ? longLine.excerpt(1) : excerptOf(line.text, 1);
  }
  sink(problem);
  return true;
}

// Reads what tells the kind of a text, which may come in pieces. The line at
// hand, which would move, is kept.
void RecordReader::readBeginning() {
  if (!line.isLong) {
    firstLine = line.text;
    line.text = firstLine;
  }
  while (input.beginning().size() < kindRoom && input.readMore()) {
  }
}

void RecordReader::report(severity_t severity, std::uint64_t column,
                          const std::string& text, bool summed) {
  sink({severity, input.name(), number, column, text, excerpt(column), 0,
        summed});
}

excerpt_t RecordReader::excerpt(std::uint64_t column) const {
  return line.isLong ? longLine.excerpt(column) : excerptOf(line.text, column);
}

// Reports what is wrong at the position `at` of the record; `address` tells
// whether it may have said where data goes.
void RecordReader::refuse(std::uint64_t at, const std::string& text,
                          bool address) {
  const std::uint64_t column = line.indent + at + 1;
  report(severity_t::ERROR, column, text);
  if (address && placeKnown) {
    placeKnown = false;
    report(severity_t::WARNING, column,
           "data behind this line is checked for form alone, until a record "
           "says where it goes");
  }
}
