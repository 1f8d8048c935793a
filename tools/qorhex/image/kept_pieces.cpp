// SPDX-License-Identifier: MIT

#include "image/kept_pieces.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

unsigned char* KeptPieces::room() {
  if (chunkSize - used < 1 + recordRoom) {
    if (chunks.size() == (std::size_t{1} << 16U) / (chunkSize >> 16U)) {
      throw std::bad_alloc();
    }
    chunks.emplace_back(new unsigned char[chunkSize]);
    used = 0;
  }
  return chunks.back().get() + used + 1;
}

void KeptPieces::add(const piece_t& piece) {
  room()[-1] = static_cast<unsigned char>(piece.size);
  const auto key = static_cast<std::uint32_t>(
      (chunks.size() - 1) * std::uint64_t{chunkSize} + used + 1);
  index.push_back(std::uint64_t{piece.address} << 32U | key);
  textPlaces.add(key, piece);
  used += 1 + piece.size;
  const half_t half{key, piece.address, piece.line};
  if (piece.line == latest.line) {
    halves.emplace(key, latest);
    halves.emplace(latest.key, half);
  }
  latest = half;
}

// Twelve bits at a time from the lowest (LSD radix sort), leaving out those
// that are the same in all; the text's order is there already.
void KeptPieces::sort() {
  constexpr std::uint64_t mask = 0xFFF;
  constexpr unsigned shifts[] = {32, 44, 56};
  std::size_t places[std::size(shifts)][mask + 1]{};
  for (const std::uint64_t entry : index) {
    for (std::size_t i = 0; i < std::size(shifts); ++i) {
      ++places[i][entry >> shifts[i] & mask];
    }
  }
  std::vector<std::uint64_t> sorted(index.size());
  for (std::size_t i = 0; i < std::size(shifts); ++i) {
    const unsigned shift = shifts[i];
    if (places[i][index[0] >> shift & mask] == index.size()) {
      continue;
    }
    std::size_t place = 0;
    for (std::size_t& count : places[i]) {
      place += std::exchange(count, place);
    }
    for (const std::uint64_t entry : index) {
      sorted[places[i][entry >> shift & mask]++] = entry;
    }
    index.swap(sorted);
  }
}

keptPiece_t KeptPieces::operator[](std::size_t i) const {
  return pieceAt(address(i), static_cast<std::uint32_t>(index[i]));
}

std::optional<keptPiece_t> KeptPieces::otherHalf(
    const keptPiece_t& piece) const {
  const auto half = halves.find(piece.key);
  if (half == halves.end()) {
    return std::nullopt;
  }
  return pieceAt(half->second.address, half->second.key);
}

keptPiece_t KeptPieces::pieceAt(std::uint32_t address,
                                std::uint32_t key) const {
  const unsigned char* const bytes = at(key);
  return {address, bytes[-1], bytes, key};
}

std::size_t KeptPieces::firstAround(std::uint64_t address) const {
  const std::uint64_t lowest =
      address - std::min<std::uint64_t>(address, maxRecordData - 1);
  return static_cast<std::size_t>(
      std::lower_bound(index.begin(), index.end(), lowest << 32U) -
      index.begin());
}

Sources KeptPieces::release() {
  chunks.clear();
  return {std::move(textPlaces), std::move(index)};
}
