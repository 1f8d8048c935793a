// SPDX-License-Identifier: MIT

#include "image/sources.h"

#include <algorithm>
#include <cstddef>
#include <utility>

Sources::Sources(Places piecePlaces, std::vector<std::uint64_t> sortedPieces)
    : places(std::move(piecePlaces)), pieces(std::move(sortedPieces)) {}

place_t Sources::of(std::uint32_t address) const {
  if (pieces.empty()) {
    return places.at(address);
  }
  const std::uint64_t behind = (std::uint64_t{address} + 1) << 32U;
  auto piece = std::lower_bound(pieces.begin(), pieces.end(), behind);
  std::uint32_t found = 0;
  std::uint32_t start = 0;
  bool covered = false;
  while (piece != pieces.begin()) {
    --piece;
    const auto first = static_cast<std::uint32_t>(*piece >> 32U);
    const auto key = static_cast<std::uint32_t>(*piece);
    if (covered && first != start) {
      break;
    }
    if (address - first < places.sizeAt(key)) {
      covered = true;
      start = first;
      found = key;
    }
  }
  return places.at(found + (address - start));
}
