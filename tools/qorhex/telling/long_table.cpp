// SPDX-License-Identifier: MIT

#include "telling/long_table.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include <unistd.h>

#include "image/gaps.h"
#include "reading/descriptor.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/bar.h"
#include "telling/columns.h"
#include "telling/messages.h"
#include "telling/problems.h"
#include "telling/terminal.h"

namespace {

constexpr std::size_t addressWidth = 10;
// Up to the sizes.
constexpr std::size_t headWidth = numberWidth + 2 * (2 + addressWidth) + 2;

void appendAddresses(std::string& text, const range_t& range) {
  text +=
      "  " + addressText(range.first) + "  " + addressText(range.last) + "  ";
}

// The lines of text of the table; what they need room for is measured first.
class LongTable {
 public:
  LongTable(const report_t& described, const textSink_t& textSink)
      : report(described), sink(textSink) {
    if (report.isMerged) {
      std::transform(report.names.begin(), report.names.end(),
                     std::back_inserter(files),
                     [](const std::string& name) { return escapeName(name); });
    }
  }

  void make() {
    if (report.segments.empty()) {
      sink("total  0\n");
      return;
    }
    measure();
    appendHeading();
    for (std::size_t i = 0; i < report.segments.size(); ++i) {
      if (i != 0) {
        appendGap(
            gapBetween(report.segments[i - 1].range, report.segments[i].range));
      }
      appendSegment(i);
      if (text.size() >= ioPiece) {
        sink(text);
        text.clear();
      }
    }
    appendTotal();
    sink(text);
  }

 private:
  void measure() {
    for (std::size_t i = 0; i < report.segments.size(); ++i) {
      const segmentReport_t& segment = report.segments[i];
      if (i != 0) {
        measureSize(
            gapBetween(report.segments[i - 1].range, segment.range).size());
      }
      measureSize(segment.range.size());
      linesWidth = std::max(linesWidth, columnsOf(linesText(segment)));
    }
    measureSize(report.size());
  }

  void measureSize(std::uint64_t size) {
    sizeWidth = std::max(sizeWidth, std::to_string(size).size());
    readableWidth = std::max(readableWidth, sizeText(size).size());
  }

  void appendHeading() {
    appendRight(text, "no", numberWidth);
    text += "  first       last        ";
    appendRight(text, "size", sizeWidth);
    text.append(2 + readableWidth, ' ');
    text += "  crc-32    ";
    if (report.hasSources()) {
      text += "  ";
      appendLeft(text, "lines", linesWidth);
    }
    text += report.regions.empty() ? "" : "  region";
    endLine(text);
  }

  void appendSize(std::uint64_t size) {
    appendRight(text, std::to_string(size), sizeWidth);
    text += "  ";
    appendRight(text, sizeText(size), readableWidth);
  }

  void appendGap(const range_t& gap) {
    appendRight(text, "-", numberWidth);
    appendAddresses(text, gap);
    appendSize(gap.size());
    text += "  gap\n";
  }

  void appendSegment(std::size_t number) {
    const segmentReport_t& segment = report.segments[number];
    appendRight(text, std::to_string(number), numberWidth);
    appendAddresses(text, segment.range);
    appendSize(segment.range.size());
    text += "  " + hexText(segment.crc32, 8) + "  ";
    if (report.hasSources()) {
      appendLeft(text, linesText(segment), linesWidth);
      text += "  ";
    }
    appendRegions(segment.regions);
    endLine(text);
  }

  void appendRegions(const std::vector<std::size_t>& regions) {
    const char* separator = "";
    for (const std::size_t region : regions) {
      text += separator + report.regions[region].region.name;
      separator = "+";
    }
  }

  void appendTotal() {
    appendLeft(text, "total", headWidth);
    appendSize(report.size());
    text += '\n';
  }

  // The FILE goes before a line where there are several.
  std::string placeText(const sourceLine_t& source) const {
    const std::string line = std::to_string(source.line);
    return files.empty() ? line : files[source.file] + ':' + line;
  }

  std::string linesText(const segmentReport_t& segment) const {
    if (!segment.source) {
      return {};
    }
    const auto& [first, last] = *segment.source;
    if (first.file != last.file) {
      return placeText(first) + '-' + placeText(last);
    }
    return first.line == last.line
               ? placeText(first)
               : placeText(first) + '-' + std::to_string(last.line);
  }

  const report_t& report;
  const textSink_t& sink;
  std::vector<std::string> files;
  std::string text;
  std::size_t sizeWidth{4};
  std::size_t readableWidth{0};
  std::size_t linesWidth{5};
};

std::string regionsText(const std::vector<regionReport_t>& regions) {
  std::size_t nameWidth = 6;
  std::size_t sizeWidth = 4;
  std::size_t usedWidth = 4;
  for (const auto& [region, used] : regions) {
    nameWidth = std::max(nameWidth, region.name.size());
    sizeWidth = std::max(sizeWidth, std::to_string(region.range.size()).size());
    usedWidth = std::max(usedWidth, std::to_string(used).size());
  }
  std::string text = "\n";
  appendLeft(text, "region", nameWidth);
  text += "  first       last        ";
  appendRight(text, "size", sizeWidth);
  text += "  ";
  appendRight(text, "used", usedWidth);
  text += '\n';
  for (const auto& [region, used] : regions) {
    appendLeft(text, region.name, nameWidth);
    appendAddresses(text, region.range);
    appendRight(text, std::to_string(region.range.size()), sizeWidth);
    text += "  ";
    appendRight(text, std::to_string(used), usedWidth);
    text += "  ";
    appendRight(text, percentText(used, region.range.size()), 6);
    text += '\n';
  }
  return text;
}

}  // namespace

void makeLongTable(const report_t& report, std::size_t width,
                   const textSink_t& sink) {
  LongTable(report, sink).make();
  std::string text;
  if (!report.regions.empty()) {
    text += regionsText(report.regions);
  }
  if (!report.startAddresses.empty()) {
    text += '\n';
    for (const startAddress_t& start : report.startAddresses) {
      text += startAddressText(start) + '\n';
    }
  }
  const std::string bar = barOf(report, width);
  if (!bar.empty()) {
    text += '\n' + bar + '\n';
  }
  sink(text);
}

void showLongTable(const report_t& report) {
  makeLongTable(report, terminalWidth(STDOUT_FILENO).value_or(standardWidth),
                writeOutput);
}
