// SPDX-License-Identifier: MIT

#include "writing/binary.h"

#include <algorithm>
#include <cstddef>

#include "reading/descriptor.h"

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
  // In pieces: a gap can be nearly all there is to write.
  const std::vector<unsigned char> filling(
      static_cast<std::size_t>(std::min<std::uint64_t>(span.size(), ioPiece)),
      fill);
  const auto fillUpTo = [&](std::uint64_t address) {
    for (std::uint64_t left = address - end; left != 0;) {
      const std::uint64_t taken = std::min<std::uint64_t>(left, filling.size());
      out.append(filling.data(), taken);
      observer(taken);
      left -= taken;
    }
  };
  for (const segment_t& segment : segments) {
    fillUpTo(segment.address);
    writeSegment(out, segment, observer);
    end = segment.end();
  }
  fillUpTo(span.end);
}
