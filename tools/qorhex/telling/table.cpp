// SPDX-License-Identifier: MIT

#include "telling/table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <ostream>
#include <string>

#include <qorutil/system.h>

#include "telling/messages.h"

namespace {

constexpr int addressDigits = 8;

// The most characters of a readable size in the list.
std::size_t widestSize(const std::vector<segment_t>& segments,
                       std::uint64_t total) {
  std::size_t widest = sizeText(total).size();
  for (const segment_t& segment : segments) {
    widest = std::max(widest, sizeText(segment.size).size());
  }
  return widest;
}

}  // namespace

void listSegments(std::ostream& os, const std::vector<segment_t>& segments) {
  std::uint64_t total = 0;
  for (const segment_t& segment : segments) {
    total += segment.size;
  }
  const std::string totalText = std::to_string(total);
  if (segments.empty()) {
    os << "total  " << totalText << '\n';
    return;
  }
  const auto width = static_cast<int>(totalText.size());
  const auto readableWidth = static_cast<int>(widestSize(segments, total));
  os << "   no  first       last        size\n";
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const segment_t& segment = segments[i];
    os << std::setw(5) << i << "  " << hexText(segment.address, addressDigits)
       << "  " << hexText(segment.end() - 1, addressDigits) << "  "
       << std::setw(width) << segment.size << "  " << std::setw(readableWidth)
       << printSize(segment.size) << '\n';
  }
  os << "total" << std::string(26, ' ') << totalText << "  "
     << std::setw(readableWidth) << printSize(total) << '\n';
}
