// SPDX-License-Identifier: MIT

#include "telling/table.h"

#include <algorithm>

#include "image/numbers.h"
#include "reading/descriptor.h"
#include "reading/number_text.h"
#include "telling/columns.h"
#include "telling/messages.h"

void Table::measure(const segment_t& segment) {
  ++count;
  bytes += segment.size;
  readableWidth = std::max(readableWidth, sizeText(segment.size).size());
}

std::string Table::heading() {
  sizeWidth = std::to_string(bytes).size();
  readableWidth = std::max(readableWidth, sizeText(bytes).size());
  if (count == 0) {
    return {};
  }
  std::string text = "   no  first       last        ";
  appendRight(text, "size", sizeWidth);
  return text + '\n';
}

void Table::appendRow(std::string& text, const segment_t& segment) {
  appendRight(text, std::to_string(row++), numberWidth);
  text += "  ";
  text += addressText(segment.address);
  text += "  ";
  text += addressText(segment.end() - 1);
  text += "  ";
  appendRight(text, std::to_string(segment.size), sizeWidth);
  text += "  ";
  appendRight(text, sizeText(segment.size), readableWidth);
  text += '\n';
}

std::string Table::total() const {
  if (count == 0) {
    return "total  0\n";
  }
  std::string text = "total" + std::string(26, ' ') + std::to_string(bytes);
  text += "  ";
  appendRight(text, sizeText(bytes), readableWidth);
  return text + '\n';
}

void listSegments(const SegmentWalk& segments) {
  Table table;
  segment_t segment{};
  for (SegmentWalk walk = segments; walk.next(segment);) {
    table.measure(segment);
  }
  std::string text = table.heading();
  for (SegmentWalk walk = segments; walk.next(segment);) {
    table.appendRow(text, segment);
    if (text.size() >= ioPiece) {
      writeOutput(text);
      text.clear();
    }
  }
  writeOutput(text + table.total());
}
