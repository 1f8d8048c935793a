// SPDX-License-Identifier: MIT
//
// The pieces of a text that does not ascend.

#ifndef QORHEX_KEPT_PIECES_H
#define QORHEX_KEPT_PIECES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "image/places.h"
#include "image/sources.h"
#include "reading/record.h"
#include "reading/record_reader.h"

/// A piece of data, kept.
struct keptPiece_t {
  /// The address of the first byte.
  std::uint32_t address;
  /// The number of bytes.
  std::uint32_t size;
  /// The bytes.
  const unsigned char* bytes;
  /// The key of the first byte in the places; of two pieces the one that comes
  /// first in the text has the lower one.
  std::uint32_t key;

  /// The address behind the last byte.
  std::uint64_t end() const { return std::uint64_t{address} + size; }
};

/// Keeps pieces and puts them into order.
class KeptPieces {
 public:
  /// Makes ready for `count` pieces, so that their index need not grow.
  void expect(std::size_t count) { index.reserve(count); }

  /// Returns where the bytes of the next piece are to be put; `recordRoom` of
  /// them have room. Throws std::bad_alloc beyond 4 GiB.
  unsigned char* room();

  /// Begins the next text; the first one has begun.
  void beginFile() {
    textPlaces.beginFile();
    latest = {};
  }

  /// Takes `piece`, whose bytes are at room().
  void add(const piece_t& piece);

  /// Sorts by address, those of one address in the order of the text.
  void sort();

  /// The number of pieces.
  std::size_t size() const { return index.size(); }

  /// The piece `i`, by the order that there is.
  keptPiece_t operator[](std::size_t i) const;

  /// Returns the other piece of the record that has `piece`; nothing where that
  /// is all of it.
  std::optional<keptPiece_t> otherHalf(const keptPiece_t& piece) const;

  /// Begins to fetch the piece `i` from memory.
  void prefetch(std::size_t i) const {
    __builtin_prefetch(at(static_cast<std::uint32_t>(index[i])));
  }

  /// The first of the sorted pieces that may cover `address`.
  std::size_t firstAround(std::uint64_t address) const;

  /// The address of the piece `i`, without a look at the piece.
  std::uint32_t address(std::size_t i) const {
    return static_cast<std::uint32_t>(index[i] >> 32U);
  }

  /// The places of all bytes.
  const Places& places() const { return textPlaces; }

  /// Hands over where in the text the sorted pieces stand and releases the
  /// rest.
  Sources release();

 private:
  static constexpr std::size_t chunkSize = std::size_t{1} << 18U;

  const unsigned char* at(std::uint32_t key) const {
    return chunks[key / chunkSize].get() + key % chunkSize;
  }

  // A piece of a record that wraps, or may do so.
  struct half_t {
    std::uint32_t key;
    std::uint32_t address;
    std::uint64_t line;
  };

  keptPiece_t pieceAt(std::uint32_t address, std::uint32_t key) const;

  // Each piece lies behind a byte with its size, at its key.
  std::vector<std::unique_ptr<unsigned char[]>> chunks;
  std::size_t used{chunkSize};
  // The address, and below it the key.
  std::vector<std::uint64_t> index;
  Places textPlaces;
  half_t latest{};
  std::map<std::uint32_t, half_t> halves;  // the other one, by the key of each
};

#endif  // QORHEX_KEPT_PIECES_H
