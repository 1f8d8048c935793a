// SPDX-License-Identifier: MIT

#include "tools/qorhex_faulty_file.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "support/hexrecord.h"

namespace {

enum recordType_t : unsigned {
  DATA = 0,
  END = 1,
  SEGMENT = 2,
  START_SEGMENT = 3,
  LINEAR = 4,
  START_LINEAR = 5
};

// Where a record's fields begin.
constexpr std::size_t countAt = 1;
constexpr std::size_t offsetAt = 3;
constexpr std::size_t typeAt = 7;
constexpr std::size_t dataAt = 9;

constexpr char placeLost[] = "data behind this line is checked for form alone";

unsigned byteAt(const std::string& text, std::size_t at) {
  return static_cast<unsigned>(std::stoul(text.substr(at, 2), nullptr, 16));
}

unsigned offsetOf(const std::string& text) {
  return byteAt(text, offsetAt) * 256 + byteAt(text, offsetAt + 2);
}

std::vector<unsigned char> dataOf(const std::string& text) {
  std::vector<unsigned char> data;
  for (std::size_t i = 0; i < byteAt(text, countAt); ++i) {
    data.push_back(static_cast<unsigned char>(byteAt(text, dataAt + 2 * i)));
  }
  return data;
}

std::string addressRecord(std::uint32_t upper) {
  return hexRecord(LINEAR, 0,
                   {static_cast<unsigned char>(upper >> 8U),
                    static_cast<unsigned char>(upper)});
}

std::string hex(std::uint32_t value, int digits) {
  char text[11];
  std::snprintf(text, sizeof text, "0x%0*x", digits, value);
  return text;
}

char otherDigit(char digit) {
  return digit == '7' ? '8' : '7';
}

// What is shown of a line.
std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char character) { return character < ' ' || character > '~'; }, '.');
  return text;
}

}  // namespace

FaultyFile::FaultyFile(std::string name, const std::string& text,
                       std::mt19937& randomness)
    : fileName(std::move(name)),
      random(randomness),
      ending(text[text.find('\n') - 1] == '\r' ? "\r\n" : "\n"),
      firstStart(lines.end()) {
  std::uint32_t upper = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(ending, at), text.size());
    insert(lines.end(), text.substr(at, end - at));
    at = end + ending.size();
    line_t& line = lines.back();
    const unsigned type = byteAt(line.body, typeAt);
    if (type == LINEAR) {
      upper = byteAt(line.body, dataAt) * 256 + byteAt(line.body, dataAt + 2);
    } else if (type == START_SEGMENT || type == START_LINEAR) {
      firstStart = std::prev(lines.end());
    }
    line.upper = upper;
    line.isFree = type == DATA && byteAt(line.body, countAt) != 0;
    line.isPlaced = line.isFree;
  }
}

std::set<std::uint32_t> FaultyFile::upperHalves() const {
  std::set<std::uint32_t> found;
  for (const line_t& line : lines) {
    if (line.isPlaced) {
      found.insert(line.upper);
    }
  }
  return found;
}

void FaultyFile::loseStartCode() {
  line_t& line = takeLine();
  line.body[0] = any(std::string(";.#*"));
  line.told = {{true, 0, "no start code", nullptr}};
}

void FaultyFile::misspellDigit() {
  line_t& line = takeLine();
  std::size_t at = 1 + below(line.body.size() - 1);
  if (at == typeAt || at == typeAt + 1) {
    at = dataAt;
  }
  line.body[at] = any(std::string("GgOxz-/@`\x7F\xE9"));
  line.told = {{true, at, "not a hex digit", nullptr}};
}

void FaultyFile::cutShort() {
  line_t& line = takeLine();
  line.body.resize(dataAt + below(line.body.size() - dataAt));
  line.told = {
      {true, line.body.size(), "shorter than its byte count", nullptr}};
}

void FaultyFile::lengthen() {
  line_t& line = takeLine();
  line.told = {{true, line.body.size(), "longer than its byte count", nullptr}};
  line.body += std::string(1 + below(5), 'A');
}

void FaultyFile::spoilChecksum() {
  line_t& line = takeLine();
  const std::size_t at = line.body.size() - 2;
  char& digit = line.body[at + below(2)];
  digit = otherDigit(digit);
  line.told = {{true, at, "wrong checksum", nullptr}};
}

void FaultyFile::useUnknownType() {
  line_t& line = takeLine();
  const unsigned type = START_LINEAR + 1 + static_cast<unsigned>(below(250));
  line.body = hexRecord(type, offsetOf(line.body), dataOf(line.body));
  line.told = {{true, typeAt, "unsupported record type", nullptr}};
}

void FaultyFile::miscountData() {
  const unsigned type =
      any(std::vector<unsigned>{END, START_SEGMENT, START_LINEAR});
  std::size_t size = below(9);
  if (size == (type == END ? 0U : 4U)) {
    ++size;
  }
  line_t& line =
      insert(freeLine(false),
             hexRecord(type, 0, std::vector<unsigned char>(size, 0x5A)));
  indentSome(line);
  line.told = {{true, countAt, "a record of type", nullptr}};
}

void FaultyFile::contradictStart() {
  if (firstStart == lines.end()) {
    firstStart = freeLine(false);
    insert(firstStart, hexRecord(START_SEGMENT, 0, {0, 0, 1, 2}));
    --firstStart;
  }
  const auto places = freeLines(std::next(firstStart), lines.end(), false);
  line_t& line = insert(
      places.empty() ? std::next(firstStart) : any(places),
      hexRecord(byteAt(firstStart->body, typeAt), 0, {0x12, 0x34, 0x56, 0x78}));
  indentSome(line);
  line.told = {{true, dataAt, "a second start address", nullptr}};
}

void FaultyFile::passTheEnd() {
  constexpr std::size_t size = 16;
  const std::size_t inside = 1 + below(size - 1);
  const auto place = freeLine(true);
  insertAt(place, 0xFFFF,
           hexRecord(DATA, static_cast<unsigned>(0x10000 - inside),
                     std::vector<unsigned char>(size, 1)));
  std::prev(place, 2)->told = {
      {true, dataAt + 2 * inside, "the record passes", nullptr}};
}

void FaultyFile::contradictData() {
  const auto own = freeLine(true);
  own->isFree = false;
  std::vector<unsigned char> data = dataOf(own->body);
  const std::size_t first = below(data.size());
  const unsigned before = data[first];
  data[first] ^= 0x11U;
  const unsigned after = data[first];
  if (first + 1 < data.size()) {
    data[first + 1 + below(data.size() - first - 1)] ^= 0x80U;
  }
  // The later of the two lines is told.
  const bool isBehind = below(2) != 0;
  const auto places = isBehind ? freeLines(own, lines.end(), true)
                               : freeLines(lines.begin(), own, true);
  const auto place = places.empty() ? own : any(places);
  insertAt(place, own->upper, hexRecord(DATA, offsetOf(own->body), data));
  line_t& copy = *std::prev(place, 2);
  const bool copyIsLater = isBehind && !places.empty();
  line_t& later = copyIsLater ? copy : *own;
  const std::uint32_t address = (own->upper << 16U) + offsetOf(own->body) +
                                static_cast<std::uint32_t>(first);
  later.toldLate = {{true, dataAt + 2 * first,
                     "byte " + hex(copyIsLater ? after : before, 2) + " at " +
                         hex(address, 8) + " conflicts with " +
                         hex(copyIsLater ? before : after, 2) + " of ",
                     copyIsLater ? &*own : &copy}};
}

void FaultyFile::stray(std::uint32_t upper) {
  const auto offset = static_cast<unsigned>(below(0xFFF0));
  const auto place = freeLine(true);
  insertAt(place, upper, hexRecord(DATA, offset, {1, 2, 3}));
  line_t& line = *std::prev(place, 2);
  line.toldLate = {{true, dataAt, hex((upper << 16U) + offset, 8), nullptr}};
  if (below(2) != 0) {  // the same run of addresses
    insert(std::prev(place), hexRecord(DATA, offset + 3, {4}));
  }
}

void FaultyFile::damageAddress() {
  const auto begin = freeLine(true);
  auto end = begin;
  for (std::size_t count = 1 + below(4); count != 0; --count) {
    if (end->isFree && end->isPlaced) {
      end->isPlaced = false;
      ++end;
    }
  }
  insert(end, addressRecord(begin->upper));
  // A conflict, if the place of both were known.
  std::vector<unsigned char> data = dataOf(begin->body);
  data[0] ^= 1U;
  insert(std::next(begin), hexRecord(DATA, offsetOf(begin->body), data));
  line_t& line = insert(begin, addressRecord(begin->upper));
  std::string& body = line.body;
  body[typeAt + 1] = any(std::string("24"));
  switch (below(5)) {
    case 0:
      body[typeAt + 1] = 'Z';
      line.told = {{true, typeAt + 1, "not a hex digit", nullptr}};
      break;
    case 1:
      body.resize(1 + below(typeAt));
      line.told = {{true, body.size(), "shorter than its byte count", nullptr}};
      break;
    case 2:
      line.told = {{true, body.size(), "longer than its byte count", nullptr}};
      body += '0';
      break;
    case 3:
      body = hexRecord(any(std::vector<unsigned>{SEGMENT, LINEAR}), 0, {1});
      line.told = {{true, countAt, "a record of type", nullptr}};
      break;
    default:
      // 02 and 04 have checksums that differ in the second digit alone, or in
      // both; the first is changed to one that neither has.
      body = addressRecord(begin->upper);
      body[body.size() - 2] = otherDigit(body[body.size() - 2]);
      line.told = {{true, body.size() - 2, "wrong checksum", nullptr}};
  }
  line.told.push_back({false, line.told[0].at, placeLost, nullptr});
  indentSome(line);
}

void FaultyFile::loseEnd() {
  if (below(2) == 0) {
    lines.pop_back();
  } else {
    line_t& line = lines.back();
    line.told = {{true, line.body.size() - 2, "wrong checksum", nullptr}};
    line.body.back() = otherDigit(line.body.back());
  }
  line_t& last = lines.back();
  last.told.push_back(
      {true, last.body.size(), "the text ends without an end record", nullptr});
}

void FaultyFile::goOnBehindEnd() {
  if (below(2) == 0) {
    insert(lines.end(), any(std::vector<std::string>{"", " \t "}));
  }
  const std::size_t count = 1 + below(3);
  for (std::size_t i = 0; i < count; ++i) {
    line_t& line =
        insert(lines.end(),
               any(std::vector<std::string>{"rubbish", ":00", ":00000001FF",
                                            hexRecord(DATA, 0, {1, 2, 3})}));
    if (i == 0) {
      line.told = {{false, 0, "behind the end record", nullptr}};
    }
  }
}

std::string FaultyFile::text() const {
  std::string all;
  for (const line_t& line : lines) {
    all += line.indent + line.body + ending;
  }
  return all;
}

std::vector<expectedProblem_t> FaultyFile::problems() const {
  return collect(false);
}

std::vector<expectedProblem_t> FaultyFile::lateProblems() const {
  return collect(true);
}

std::size_t FaultyFile::below(std::size_t end) {
  return random() % end;
}

// The lines from `begin` on, before `end`, that a fault can be put in or
// before; with `placed` those whose bytes count alone.
std::vector<FaultyFile::lines_t::iterator> FaultyFile::freeLines(
    lines_t::iterator begin, lines_t::iterator end, bool placed) {
  std::vector<lines_t::iterator> found;
  for (auto line = begin; line != end; ++line) {
    if (line->isFree && (line->isPlaced || !placed)) {
      found.push_back(line);
    }
  }
  return found;
}

FaultyFile::lines_t::iterator FaultyFile::freeLine(bool placed) {
  return any(freeLines(lines.begin(), lines.end(), placed));
}

// One that is going to be damaged.
FaultyFile::line_t& FaultyFile::takeLine() {
  line_t& line = *freeLine(false);
  line.isFree = false;
  line.isPlaced = false;
  indentSome(line);
  return line;
}

FaultyFile::line_t& FaultyFile::insert(lines_t::iterator before,
                                       const std::string& body) {
  return *lines.insert(before, {body, "", 0, false, false, {}, {}});
}

// Blanks before a record are no fault.
void FaultyFile::indentSome(line_t& line) {
  line.indent = any(std::vector<std::string>{"", "", " ", "\t", "  \t "});
}

// Inserts a data record at an upper half of its own; behind it follows the
// record that says where `before` goes.
void FaultyFile::insertAt(lines_t::iterator before, std::uint32_t upper,
                          const std::string& body) {
  insert(before, addressRecord(upper));
  indentSome(insert(before, body));
  insert(before, addressRecord(before->upper));
}

std::vector<expectedProblem_t> FaultyFile::collect(bool late) const {
  std::vector<expectedProblem_t> found;
  std::size_t number = 0;
  for (const line_t& line : lines) {
    ++number;
    for (const told_t& told : late ? line.toldLate : line.told) {
      found.push_back(expected(line, number, told));
    }
  }
  return found;
}

expectedProblem_t FaultyFile::expected(const line_t& line, std::size_t number,
                                       const told_t& told) const {
  const std::size_t before = line.indent.size() + told.at;
  expectedProblem_t problem;
  problem.place = fileName + ':' + std::to_string(number) + ':' +
                  std::to_string(before + 1) +
                  (told.isError ? ": error: " : ": warning: ");
  problem.text = told.text;
  if (told.other == nullptr) {
    problem.excerpt = printable(line.indent + line.body) + '\n' +
                      std::string(before, ' ') + "^\n";
  } else {
    // The lines of a conflict have gone by when it is found.
    problem.text += fileName + ':' + std::to_string(numberOf(*told.other));
  }
  return problem;
}

std::size_t FaultyFile::numberOf(const line_t& wanted) const {
  std::size_t number = 1;
  for (const line_t& line : lines) {
    if (&line == &wanted) {
      break;
    }
    ++number;
  }
  return number;
}
