// SPDX-License-Identifier: MIT

#include "reading/problem.h"

#include <algorithm>
#include <cstddef>

excerpt_t excerptOf(std::string_view line, std::uint64_t column) {
  if (line.size() <= longestShownLine) {
    return {std::string(line), 1};
  }
  const std::size_t before =
      std::max<std::size_t>(static_cast<std::size_t>(column - 1),
                            shownOfLongLine / 2) -
      shownOfLongLine / 2;
  const std::size_t first = std::min(before, line.size() - shownOfLongLine);
  return {std::string(line.substr(first, shownOfLongLine)), first + 1};
}
