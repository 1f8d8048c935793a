// SPDX-License-Identifier: MIT
//
// Where in the text the bytes of an image come from.

#ifndef QORHEX_SOURCES_H
#define QORHEX_SOURCES_H

#include <cstdint>
#include <vector>

#include "image/places.h"

/// Knows the place of every byte of an image.
class Sources {
 public:
  Sources() = default;

  /// Takes the places of pieces: by their address where `sortedPieces` is
  /// empty, else by a key that stands there below the address of each.
  Sources(Places piecePlaces, std::vector<std::uint64_t> sortedPieces);

  /// Returns the place of the byte at `address`, which the image has. Of
  /// several pieces it is that whose byte counts: of the last text that has
  /// one, the one that begins highest, and of several with one beginning the
  /// first in the text.
  place_t of(std::uint32_t address) const;

 private:
  Places places;
  std::vector<std::uint64_t> pieces;
};

#endif  // QORHEX_SOURCES_H
