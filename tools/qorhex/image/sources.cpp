// SPDX-License-Identifier: MIT

#include "image/sources.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <tuple>
#include <utility>

#include "reading/record.h"

namespace {

// A piece that has the byte in question.
struct candidate_t {
  std::size_t file;
  std::uint32_t first;
  std::uint32_t key;

  // Of pieces with one beginning the first one is asked last.
  bool countsOver(const candidate_t& other) const {
    return std::tie(file, first) >= std::tie(other.file, other.first);
  }
};

}  // namespace

Sources::Sources(Places piecePlaces, std::vector<std::uint64_t> sortedPieces)
    : places(std::move(piecePlaces)), pieces(std::move(sortedPieces)) {}

place_t Sources::of(std::uint32_t address) const {
  if (pieces.empty()) {
    return places.at(address);
  }
  const std::uint64_t last = std::uint64_t{address} << 32U | 0xFFFFFFFFU;
  auto piece = std::upper_bound(pieces.begin(), pieces.end(), last);
  std::optional<candidate_t> best;
  while (piece != pieces.begin()) {
    --piece;
    const auto first = static_cast<std::uint32_t>(*piece >> 32U);
    const auto key = static_cast<std::uint32_t>(*piece);
    const bool decided =
        best && places.fileCount() == 1 && best->first != first;
    if (decided || address - first >= maxRecordData) {
      break;
    }
    if (address - first < places.sizeAt(key)) {
      const candidate_t candidate{places.fileOf(key), first, key};
      if (!best || candidate.countsOver(*best)) {
        best = candidate;
      }
    }
  }
  return places.at(best->key + (address - best->first));
}
