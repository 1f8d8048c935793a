// SPDX-License-Identifier: MIT

#include "tools/qorhex_plain_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "reading/file_kind.h"

namespace {

constexpr std::uint64_t behindAll = std::uint64_t{1} << 32U;

const std::string blanks = " \t\r";
const std::string hexDigitsOfBothCases = "0123456789abcdefABCDEF";
const std::string mark = "\xEF\xBB\xBF";

std::string hex(std::uint64_t value, int digits) {
  char text[20];
  std::snprintf(text, sizeof text, "0x%0*llx", digits,
                static_cast<unsigned long long>(value));
  return text;
}

std::string counted(std::uint64_t count, const std::string& unit) {
  return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

unsigned byteOf(std::string_view pair) {
  return static_cast<unsigned>(
      std::strtoul(std::string(pair).c_str(), nullptr, 16));
}

bool areDigits(std::string_view text) {
  return text.find_first_not_of(hexDigitsOfBothCases) == std::string::npos;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) {
    return {};
  }
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

struct flaw_t {
  std::uint64_t at;
  std::string text;
};

// What is wrong with the form of a record; nothing where it is sound.
std::optional<flaw_t> flawOf(std::string_view body) {
  if (body[0] != ':') {
    return flaw_t{0,
                  "no start code ':' at the beginning; every line is a record, "
                  "comments are not understood"};
  }
  const std::size_t strange = body.find_first_not_of(hexDigitsOfBothCases, 1);
  if (strange != std::string_view::npos) {
    return flaw_t{strange,
                  "not a hex digit; behind ':' stand 0 to 9 and A to F alone"};
  }
  const std::size_t size =
      body.size() < 3 ? 11 : 11 + 2 * std::size_t{byteOf(body.substr(1, 2))};
  const std::string lengths =
      counted(body.size(), "character") + " instead of " + std::to_string(size);
  if (body.size() < size) {
    return flaw_t{body.size(), "shorter than its byte count says, " + lengths +
                                   "; the line was cut, or its byte count is "
                                   "wrong"};
  }
  if (body.size() > size) {
    return flaw_t{size, "longer than its byte count says, " + lengths +
                            "; lines were joined, or the byte count is wrong"};
  }
  unsigned sum = 0;
  for (std::size_t at = 1; at < size - 2; at += 2) {
    sum += byteOf(body.substr(at, 2));
  }
  const unsigned right = (0x10000 - sum) % 0x100;
  const unsigned found = byteOf(body.substr(size - 2));
  if (found == right) {
    return std::nullopt;
  }
  char digits[3];
  std::snprintf(digits, sizeof digits, "%02X", right);
  return flaw_t{size - 2, "wrong checksum " + hex(found, 2) +
                              ", the bytes give " + hex(right, 2) +
                              "; if the bytes are right, write " + digits};
}

// Whether a damaged line may have said where data goes.
bool mayBeAddress(std::string_view body) {
  if (body[0] != ':') {
    return false;
  }
  if (body.size() < 9 || !areDigits(body.substr(7, 2))) {
    return true;
  }
  const unsigned type = byteOf(body.substr(7, 2));
  return type == 2 || type == 4;
}

}  // namespace

void PlainReader::read(const std::string& name, std::string_view text,
                       bool regular) {
  beginText(name, regular, text.substr(0, kindRoom));
  while (!text.empty()) {
    const std::size_t feed = std::min(text.find('\n'), text.size());
    addLine(text.substr(0, feed));
    text.remove_prefix(std::min(feed + 1, text.size()));
  }
  endText();
}

void PlainReader::beginText(const std::string& name, bool regular,
                            std::string_view beginning) {
  names.push_back(name);
  isOpen = true;
  isRegular = regular;
  first = beginning;
  current.clear();
  number = 0;
  base = 0;
  wraps = false;
  placeKnown = true;
  ended = false;
  otherFile = false;
  behind = 0;
  startsOfText.clear();
}

void PlainReader::addLine(std::string_view line) {
  ++number;
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  if (otherFile) {
    return;
  }
  if (ended) {
    if (!trimmed(line).empty() && behind++ == 0) {
      firstBehind = number;
      firstLineBehind = line;
    }
    return;
  }
  current = line;
  const std::size_t skipped =
      number == 1 && line.substr(0, mark.size()) == mark ? mark.size() : 0;
  const std::string_view body = trimmed(line.substr(skipped));
  if (body.empty()) {
    return;
  }
  indent = static_cast<std::uint64_t>(body.data() - line.data());
  const auto flaw = flawOf(body);
  if (!flaw) {
    std::string bytes;
    for (std::size_t at = 1; at < body.size(); at += 2) {
      bytes += static_cast<char>(byteOf(body.substr(at, 2)));
    }
    takeRecord(bytes);
    return;
  }
  // What kinds there are is tested elsewhere.
  const char* const kind =
      firstFilledLine(first) == number ? otherKind(first) : nullptr;
  if (kind == nullptr) {
    refuse(flaw->at, flaw->text, mayBeAddress(body));
    return;
  }
  ofLines.push_back({true, names.size() - 1, 1, 1, kind, {}});
  if (number == 1) {
    ofLines.back().shown = current;
  }
  otherFile = true;
}

void PlainReader::endText() {
  if (const auto problem = problemOfTheEnd()) {
    ofLines.push_back(*problem);
  }
  isOpen = false;
}

std::vector<plainProblem_t> PlainReader::problems() const {
  std::vector<plainProblem_t> all = ofLines;
  if (isOpen) {
    if (const auto problem = problemOfTheEnd()) {
      all.push_back(*problem);
    }
  }
  addConflicts(all);
  return all;
}

bool PlainReader::isRefused() const {
  const std::vector<plainProblem_t> all = problems();
  return std::any_of(all.begin(), all.end(), [](const plainProblem_t& problem) {
    return problem.isError;
  });
}

std::optional<plainProblem_t> PlainReader::problemOfTheEnd() const {
  const std::size_t file = names.size() - 1;
  if (otherFile) {
    return std::nullopt;
  }
  if (!ended) {
    return plainProblem_t{true,
                          file,
                          std::max<std::uint64_t>(number, 1),
                          current.size() + 1,
                          "the text ends without an end record; the file was "
                          "cut, or :00000001FF is missing",
                          current};
  }
  if (behind == 0 || !isRegular) {
    return std::nullopt;
  }
  return plainProblem_t{false,
                        file,
                        firstBehind,
                        1,
                        counted(behind, "line") + " behind the end record " +
                            (behind == 1 ? "is" : "are") + " left out",
                        firstLineBehind};
}

void PlainReader::complain(bool isError, std::uint64_t column,
                           const std::string& text) {
  ofLines.push_back({isError, names.size() - 1, number, column, text, current});
}

void PlainReader::refuse(std::uint64_t at, const std::string& text,
                         bool perhapsAddress) {
  complain(true, indent + at + 1, text);
  if (perhapsAddress && placeKnown) {
    placeKnown = false;
    complain(false, indent + at + 1,
             "data behind this line is checked for form alone, until a record "
             "says where it goes");
  }
}

void PlainReader::takeRecord(const std::string& bytes) {
  constexpr std::size_t sizes[] = {0, 0, 2, 4, 2, 4};
  const auto valueOf = [](const std::string& text) {
    std::uint32_t value = 0;
    for (const char byte : text) {
      value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
  };
  const unsigned type = static_cast<unsigned char>(bytes[3]);
  const std::string data = bytes.substr(4, bytes.size() - 5);
  if (type == 0) {
    if (!data.empty() && placeKnown) {
      takeData(valueOf(bytes.substr(1, 2)), data);
    }
    return;
  }
  if (type > 5) {
    refuse(
        7,
        "unsupported record type " + hex(type, 2) + "; 00 to 05 are understood",
        false);
    return;
  }
  if (data.size() != sizes[type]) {
    refuse(1,
           "a record of type " + hex(type, 2) + " has " +
               counted(sizes[type], "data byte") + ", not " +
               std::to_string(data.size()) +
               "; the byte count or the type is wrong",
           type == 2 || type == 4);
    return;
  }
  if (type == 1) {
    ended = true;
  } else if (type == 2 || type == 4) {
    base = std::uint64_t{valueOf(data)} * (type == 2 ? 16 : 65536);
    wraps = type == 2;
    placeKnown = true;
  } else {
    takeStart(type, valueOf(data));
  }
}

void PlainReader::takeData(unsigned offset, const std::string& data) {
  record_t record{names.size() - 1, number, {}};
  for (std::size_t i = 0; i < data.size(); ++i) {
    const std::uint64_t address =
        base + (wraps ? (offset + i) % 65536 : offset + i);
    if (address >= behindAll) {
      refuse(9 + 2 * i,
             "the record passes the address 0xffffffff; cut it there, or "
             "correct its address",
             false);
      return;
    }
    record.cells.push_back({static_cast<std::uint32_t>(address),
                            static_cast<unsigned char>(data[i]),
                            indent + 10 + 2 * i});
  }
  place(record);
}

// Gives each address its byte: that of the last text, in one text that of the
// piece which starts highest, of several with one start the first.
void PlainReader::place(const record_t& record) {
  const std::size_t index = records.size();
  records.push_back(record);
  std::uint32_t start = 0;
  for (std::size_t i = 0; i < record.cells.size(); ++i) {
    const cell_t& cell = record.cells[i];
    if (i == 0 || cell.address != record.cells[i - 1].address + 1) {
      start = cell.address;
    }
    const plainByte_t byte{cell.byte, start, record.file, record.line,
                           cell.column};
    const auto [at, isNew] = image.emplace(cell.address, byte);
    if (isNew) {
      continue;
    }
    std::vector<holder_t>& holders = shared[cell.address];
    if (holders.empty()) {
      // Of the record that was alone there.
      for (std::size_t other = index; holders.empty(); --other) {
        const std::vector<cell_t>& cells = records[other - 1].cells;
        const auto found = std::find_if(
            cells.begin(), cells.end(),
            [&](const cell_t& each) { return each.address == cell.address; });
        if (found != cells.end()) {
          holders.push_back(
              {other - 1, static_cast<std::size_t>(found - cells.begin())});
        }
      }
    }
    holders.push_back({index, i});
    plainByte_t& known = at->second;
    if (std::tie(known.file, known.start) < std::tie(byte.file, byte.start)) {
      known = byte;
    }
  }
}

void PlainReader::takeStart(unsigned type, std::uint32_t value) {
  const plainStart_t start{type, value, number, names.size() - 1};
  const auto known = std::find_if(
      startsOfText.begin(), startsOfText.end(),
      [&](const plainStart_t& other) { return other.type == type; });
  if (known == startsOfText.end()) {
    const std::string verdict = judgeStart(start);
    if (!verdict.empty() && !force) {
      refuse(9, verdict + "; --force accepts that", false);
      return;
    }
    if (!verdict.empty() && tells) {
      complain(false, indent + 10, verdict + ", which gives way (--force)");
    }
    startsOfText.push_back(start);
  } else if (known->value != value) {
    refuse(9,
           "a second start address " + hex(value, 8) + ", that of line " +
               std::to_string(known->line) + " is " + hex(known->value, 8) +
               "; keep one of them",
           false);
  }
}

// Takes `start` to those of the image; returns what contradicts it.
std::string PlainReader::judgeStart(const plainStart_t& start) {
  const auto known = std::find_if(
      starts.begin(), starts.end(),
      [&](const plainStart_t& other) { return other.type == start.type; });
  if (known == starts.end()) {
    starts.push_back(start);
    return {};
  }
  if (known->value == start.value) {
    return {};
  }
  const std::string text = "start address " + hex(start.value, 8) +
                           " conflicts with " + hex(known->value, 8) + " of " +
                           names[known->file] + ':' +
                           std::to_string(known->line);
  if (force) {
    replacedStarts.push_back(*known);
    *known = start;
  }
  return text;
}

std::uint64_t PlainReader::conflicting() const {
  return static_cast<std::uint64_t>(
      std::count_if(shared.begin(), shared.end(), [&](const auto& each) {
        const auto byteOfHolder = [&](const holder_t& holder) {
          return records[holder.record].cells[holder.cell].byte;
        };
        return std::any_of(each.second.begin(), each.second.end(),
                           [&](const holder_t& holder) {
                             return byteOfHolder(holder) !=
                                    byteOfHolder(each.second.front());
                           });
      }));
}

std::uint64_t PlainReader::repeated() const {
  return shared.size();
}

// Every two records that contradict each other, by the lowest address of that.
void PlainReader::addConflicts(std::vector<plainProblem_t>& all) const {
  struct conflict_t {
    std::uint64_t address;
    holder_t later;
    holder_t earlier;
    std::uint64_t count;
  };

  if (force && !tells) {
    return;
  }
  std::map<std::pair<std::size_t, std::size_t>, conflict_t> pairs;
  for (const auto& [address, holders] : shared) {
    for (std::size_t i = 1; i < holders.size(); ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        const cell_t& later = records[holders[i].record].cells[holders[i].cell];
        const cell_t& earlier =
            records[holders[k].record].cells[holders[k].cell];
        if (later.byte != earlier.byte) {
          const auto found =
              pairs
                  .emplace(std::pair(holders[i].record, holders[k].record),
                           conflict_t{address, holders[i], holders[k], 0})
                  .first;
          ++found->second.count;
        }
      }
    }
  }
  std::vector<conflict_t> conflicts;
  for (const auto& [pair, conflict] : pairs) {
    conflicts.push_back(conflict);
  }
  std::stable_sort(conflicts.begin(), conflicts.end(),
                   [](const conflict_t& a, const conflict_t& b) {
                     return a.address < b.address;
                   });
  for (const conflict_t& conflict : conflicts) {
    const record_t& later = records[conflict.later.record];
    const record_t& earlier = records[conflict.earlier.record];
    const cell_t& cell = later.cells[conflict.later.cell];
    all.push_back({!force,
                   later.file,
                   later.line,
                   cell.column,
                   "byte " + hex(cell.byte, 2) + " at " +
                       hex(conflict.address, 8) + " conflicts with " +
                       hex(earlier.cells[conflict.earlier.cell].byte, 2) +
                       " of " + names[earlier.file] + ':' +
                       std::to_string(earlier.line) + ", " +
                       counted(conflict.count, "byte") +
                       (force ? " in all; accepted (--force)"
                              : " in all; --force accepts that"),
                   {}});
  }
}

namespace {

bool isSame(const problem_t& problem, const plainProblem_t& plain) {
  if ((problem.severity == severity_t::ERROR) != plain.isError ||
      problem.fileIndex != plain.file || problem.line != plain.line ||
      problem.column != plain.column || problem.text != plain.text ||
      problem.excerpt.has_value() != plain.shown.has_value()) {
    return false;
  }
  if (!plain.shown) {
    return true;
  }
  const excerpt_t excerpt = excerptOf(*plain.shown, plain.column);
  return problem.excerpt->text == excerpt.text &&
         problem.excerpt->firstColumn == excerpt.firstColumn;
}

std::string toText(std::uint64_t line, std::uint64_t column,
                   const std::string& text) {
  return std::to_string(line) + ':' + std::to_string(column) + ": " + text;
}

bool areSame(const std::vector<startAddress_t>& starts,
             const std::vector<plainStart_t>& plain) {
  return std::equal(starts.begin(), starts.end(), plain.begin(), plain.end(),
                    [](const startAddress_t& a, const plainStart_t& b) {
                      return a.type == b.type && a.value == b.value &&
                             a.line == b.line && a.file == b.file;
                    });
}

}  // namespace

std::string differenceOfProblems(const std::vector<problem_t>& problems,
                                 const PlainReader& plain) {
  const std::vector<plainProblem_t> expected = plain.problems();
  if (problems.size() != expected.size()) {
    return std::to_string(problems.size()) + " problems instead of " +
           std::to_string(expected.size());
  }
  for (std::size_t i = 0; i < problems.size(); ++i) {
    if (!isSame(problems[i], expected[i])) {
      return toText(problems[i].line, problems[i].column, problems[i].text) +
             "\n instead of\n" +
             toText(expected[i].line, expected[i].column, expected[i].text);
    }
  }
  return {};
}

std::string differenceOfImages(const image_t& image, const PlainReader& plain) {
  auto expected = plain.bytes().begin();
  for (std::size_t i = 0; i < image.blocks.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image.blocks[i];
    if (block.size != block.data.size() || block.size == 0 ||
        block.address + block.size > 0x10000) {
      return "a block that is none";
    }
    std::uint64_t address = block.extAddress * 0x10000ULL + block.address;
    for (const unsigned char byte : block.data) {
      if (expected == plain.bytes().end() || expected->first != address ||
          expected->second.byte != byte) {
        return "another byte at " + hex(address, 8);
      }
      const place_t place =
          image.sources.of(static_cast<std::uint32_t>(address));
      if (place.file != expected->second.file ||
          place.line != expected->second.line ||
          place.column != expected->second.column) {
        return "another place of the byte at " + hex(address, 8);
      }
      ++expected;
      ++address;
    }
  }
  if (expected != plain.bytes().end()) {
    return "no byte at " + hex(expected->first, 8);
  }
  if (!areSame(image.startAddresses, plain.starts) ||
      !areSame(image.replacedStarts, plain.replacedStarts)) {
    return "other start addresses";
  }
  // Of conflicting bytes it is not said how often they are repeated.
  if (image.merged.conflicting != plain.conflicting() ||
      (plain.conflicting() == 0 && image.merged.repeated != plain.repeated())) {
    return "another number of bytes merged";
  }
  return {};
}
