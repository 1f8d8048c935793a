// SPDX-License-Identifier: MIT

#include "telling/json.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "image/gaps.h"
#include "reading/descriptor.h"
#include "reading/utf8.h"

namespace {

void appendControl(std::string& text, unsigned char value) {
  constexpr std::array<std::pair<char, char>, 5> known{
      {{'\b', 'b'}, {'\t', 't'}, {'\n', 'n'}, {'\f', 'f'}, {'\r', 'r'}}};
  for (const auto& [control, letter] : known) {
    if (value == static_cast<unsigned char>(control)) {
      text += {'\\', letter};
      return;
    }
  }
  constexpr char digits[] = "0123456789abcdef";
  text += "\\u00";
  text += {digits[value >> 4U], digits[value & 0xFU]};
}

template <typename Values>
void appendList(std::string& text, const Values& values) {
  text += '[';
  for (const auto& value : values) {
    text += (text.back() == '[' ? "" : ",") + value;
  }
  text += ']';
}

void appendSource(std::string& text, const segmentReport_t& segment,
                  bool several) {
  if (!segment.source) {
    text += R"(,"source":null)";
    return;
  }
  const auto& [first, last] = *segment.source;
  text += R"(,"source":[)" + std::to_string(first.line) + ',' +
          std::to_string(last.line) + ']';
  if (several) {
    text += R"(,"sourceFiles":[)" + std::to_string(first.file) + ',' +
            std::to_string(last.file) + ']';
  }
}

const char* nameOfKind(differenceKind_t kind) {
  switch (kind) {
    case differenceKind_t::ONLY_A:
      return "onlyA";
    case differenceKind_t::ONLY_B:
      return "onlyB";
    default:
      return "differs";
  }
}

}  // namespace

std::string jsonString(std::string_view bytes) {
  std::string text = "\"";
  while (!bytes.empty()) {
    bool valid = false;
    const std::string_view character = firstCharacter(bytes, valid);
    bytes.remove_prefix(character.size());
    if (!valid) {
      text += "\xEF\xBF\xBD";
    } else if (isControl(character)) {
      // The last byte of U+0080 to U+009F is the number itself.
      appendControl(text, static_cast<unsigned char>(character.back()));
    } else {
      text += character == "\"" || character == "\\" ? "\\" : "";
      text += character;
    }
  }
  return text + '"';
}

JsonDocument::JsonDocument(textSink_t textSink)
    : sink(std::move(textSink)), text(R"({"version":1,"files":[)") {}

void JsonDocument::add(const report_t& report) {
  separate();
  text += R"({"name":)";
  addNames(report);
  text += R"(,"status":)" + std::to_string(report.status);
  text += R"(,"segments":[)";
  addSegments(report);
  text += R"(],"gaps":[)";
  addGaps(report);
  text += R"(],"regions":[)";
  addRegions(report);
  text += R"(],"startAddresses":[)";
  addStartAddresses(report);
  text += R"(],"problems":[)";
  addProblems(report);
  text += "]}";
}

void JsonDocument::beginDifferences() {
  text += R"(],"differences":[)";
  hasDifferences = true;
}

void JsonDocument::add(const difference_t& difference) {
  separate();
  addRange(difference.range);
  text += R"(,"kind":")";
  text += nameOfKind(difference.kind);
  text += R"("})";
  flush(ioPiece);
}

void JsonDocument::endDifferences(bool startAddressesDiffer) {
  text += R"(],"startAddressesDiffer":)";
  text += startAddressesDiffer ? "true" : "false";
}

void JsonDocument::finish() {
  text += hasDifferences ? "}\n" : "]}\n";
  flush(0);
}

// One name is no list.
void JsonDocument::addNames(const report_t& report) {
  if (!report.isMerged) {
    text += jsonString(report.names.front());
    return;
  }
  std::vector<std::string> names;
  names.reserve(report.names.size());
  for (const std::string& name : report.names) {
    names.push_back(jsonString(name));
  }
  appendList(text, names);
}

void JsonDocument::addSegments(const report_t& report) {
  std::vector<std::string> names;
  for (const segmentReport_t& segment : report.segments) {
    separate();
    addRange(segment.range);
    text += R"(,"crc32":)" + std::to_string(segment.crc32);
    appendSource(text, segment, report.isMerged);
    text += R"(,"regions":)";
    names.clear();
    for (const std::size_t region : segment.regions) {
      names.push_back(jsonString(report.regions[region].region.name));
    }
    appendList(text, names);
    text += '}';
    flush(ioPiece);
  }
}

void JsonDocument::addGaps(const report_t& report) {
  for (std::size_t i = 1; i < report.segments.size(); ++i) {
    separate();
    addRange(
        gapBetween(report.segments[i - 1].range, report.segments[i].range));
    text += '}';
    flush(ioPiece);
  }
}

void JsonDocument::addRegions(const report_t& report) {
  for (const auto& [region, used] : report.regions) {
    separate();
    text += R"({"name":)" + jsonString(region.name) + R"(,"first":)" +
            std::to_string(region.range.first) + R"(,"last":)" +
            std::to_string(region.range.last) + R"(,"used":)" +
            std::to_string(used) + '}';
    flush(ioPiece);
  }
}

void JsonDocument::addStartAddresses(const report_t& report) {
  for (const startAddress_t& start : report.startAddresses) {
    separate();
    text += R"({"type":)" + std::to_string(start.type) + R"(,"value":)" +
            std::to_string(start.value) + '}';
  }
}

void JsonDocument::addProblems(const report_t& report) {
  for (const problem_t& problem : report.problems) {
    separate();
    const bool isError = problem.severity == severity_t::ERROR;
    // What is told of a merged image as a whole has all names; here it is, as
    // in the counts of --check, one of the last FILE.
    text += R"({"file":)" + jsonString(report.names[problem.fileIndex]) +
            R"(,"line":)" + std::to_string(problem.line) + R"(,"column":)" +
            std::to_string(problem.column) + R"(,"severity":")" +
            (isError ? "error" : "warning") + R"(","text":)" +
            jsonString(problem.text) + '}';
    flush(ioPiece);
  }
}

// Goes before each element of a list but the first.
void JsonDocument::separate() {
  if (text.empty() || text.back() != '[') {
    text += ',';
  }
}

// Leaves the object open.
void JsonDocument::addRange(const range_t& range) {
  text += R"({"first":)" + std::to_string(range.first) + R"(,"last":)" +
          std::to_string(range.last) + R"(,"size":)" +
          std::to_string(range.size());
}

void JsonDocument::flush(std::size_t least) {
  if (text.size() >= least) {
    sink(text);
    text.clear();
  }
}
