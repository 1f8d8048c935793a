// SPDX-License-Identifier: MIT
//
// Where in the text the bytes of an image stand.

#ifndef QORHEX_PLACES_H
#define QORHEX_PLACES_H

#include <cstdint>
#include <vector>

#include "reading/record_reader.h"

/// A place in a text.
struct place_t {
  /// The line, from 1.
  std::uint64_t line;
  /// The column of the first digit, from 1.
  std::uint64_t column;
};

/// The places of pieces that lie one behind the other by some key: their
/// address, or where their bytes are kept.
///
/// Pieces of one size on lines and at keys with even steps make one run, so
/// that the places of nearly all texts cost next to nothing.
class Places {
 public:
  /// Pieces one after the other.
  struct run_t {
    /// The line of the first one.
    std::uint64_t line;
    /// The key of the first one.
    std::uint32_t key;
    /// From each key to the next.
    std::uint32_t keyStep;
    /// From each line to the next.
    std::uint32_t lineStep;
    /// The number of pieces.
    std::uint32_t count;
    /// The column of them all; beyond 32 bits it stops growing.
    std::uint32_t column;
    /// The number of bytes of each.
    std::uint32_t size;
  };

  /// Adds `piece` under `key`, which is above all keys before it.
  void add(std::uint32_t key, const piece_t& piece) {
    if (key == next.key && piece.line == next.line &&
        piece.column == next.column && piece.size == next.size) {
      ++runs.back().count;
      next.key += next.keyStep;
      next.line += next.lineStep;
    } else {
      addRun(key, piece);
    }
  }

  /// Returns the place of the byte at `key`, which is in a piece.
  place_t at(std::uint32_t key) const;

  /// Returns the size of the piece that begins at `key`.
  std::uint32_t sizeAt(std::uint32_t key) const { return runAt(key).size; }

  /// Returns all runs, in ascending order.
  const std::vector<run_t>& all() const { return runs; }

 private:
  const run_t& runAt(std::uint32_t key) const;

  void addRun(std::uint32_t key, const piece_t& piece);

  std::vector<run_t> runs;
  run_t next{};  // what continues the last one; of size 0 where nothing does
};

#endif  // QORHEX_PLACES_H
