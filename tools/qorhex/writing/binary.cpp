// SPDX-License-Identifier: MIT

#include "writing/binary.h"

void writeSegment(OutputFile& out, const segment_t& segment,
                  const ByteObserver& observer) {
  for (const stretch_t& stretch : segment.stretches) {
    out.append(stretch.data, stretch.size);
    observer(stretch.size);
  }
}

void writeSpan(OutputFile& out, const std::vector<segment_t>& segments,
               const span_t& span, unsigned char fill,
               const ByteObserver& observer) {
  std::uint64_t end = span.first;
  const auto fillUpTo = [&](std::uint64_t address) {
    out.appendFill(address - end, fill);
    observer(address - end);
  };
  for (const segment_t& segment : segments) {
    fillUpTo(segment.address);
    writeSegment(out, segment, observer);
    end = segment.end();
  }
  fillUpTo(span.end);
}
