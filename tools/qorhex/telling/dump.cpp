// SPDX-License-Identifier: MIT

#include "telling/dump.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include <qorutil/formatting.h>

#include "reading/descriptor.h"
#include "reading/number_text.h"
#include "telling/messages.h"

namespace {

// What printPrintable() makes of each byte: asking it once is faster than for
// every line.
std::string shownBytes() {
  std::string bytes;
  for (unsigned i = 0; i < 256; ++i) {
    bytes += static_cast<char>(i);
  }
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);  // lets std::bad_alloc through
  printPrintable(text, bytes);
  return text.str();
}

// Collects the text and writes it in pieces, so that a dump of any length
// takes little memory and ends soon where nobody takes it.
class DumpText {
 public:
  explicit DumpText(std::uint64_t bytesPerLine)
      : lineSize(static_cast<std::size_t>(bytesPerLine)) {
    line.reserve(lineSize);
    text.exceptions(std::ios_base::badbit);  // lets std::bad_alloc through
  }

  // Adds the bytes at `data` to the line that is not complete yet, and writes
  // the lines that become so.
  void add(const stretch_t& stretch) {
    const unsigned char* data = stretch.data;
    const unsigned char* const end = data + stretch.size;
    while (data != end) {
      const std::size_t taken = std::min(lineSize - line.size(),
                                         static_cast<std::size_t>(end - data));
      line.insert(line.end(), data, data + taken);
      data += taken;
      if (line.size() == lineSize) {
        endLine();
      }
      if (text.tellp() >= std::streamoff{ioPiece}) {
        flush();
      }
    }
  }

  // Begins a segment at `address`; what is left of the one before ends there.
  void startSegment(std::uint64_t address, bool first) {
    text << (first ? "" : "\n");
    next = address;
  }

  void endLine() {
    if (line.empty()) {
      return;
    }
    // The address stands in the prefix: the library knows where the bytes are
    // in memory, not in the image.
    const std::string prefix = hexText(next, 8) + ':';
    const unsigned char* const first = line.data();
    hexdump(text, first, first + line.size(), prefix.c_str(), lineSize,
            HEXDUMP_NONE, false);
    column.assign((lineSize - line.size()) * charactersPerByte, ' ');
    column += "  |";
    for (const unsigned char byte : line) {
      column += shown[byte];
    }
    column += "|\n";
    text << column;
    next += line.size();
    line.clear();
  }

  void flush() {
    writeOutput(text.str());
    text.str({});
  }

 private:
  static constexpr std::size_t charactersPerByte = 3;  // a blank, two digits

  std::size_t lineSize;
  std::vector<unsigned char> line;
  std::string column;
  const std::string shown{shownBytes()};
  std::uint64_t next{0};
  std::ostringstream text;
};

}  // namespace

void dumpSegments(SegmentWalk segments, std::uint64_t bytesPerLine) {
  DumpText text(bytesPerLine);
  bool first = true;
  for (segment_t segment{}; segments.next(segment); first = false) {
    text.startSegment(segment.address, first);
    for (const stretch_t& stretch : segment.stretches) {
      text.add(stretch);
    }
    text.endLine();
  }
  text.flush();
}
