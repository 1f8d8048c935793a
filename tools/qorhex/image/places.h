// SPDX-License-Identifier: MIT
//
// Where in the text the bytes of an image stand.

#ifndef QORHEX_PLACES_H
#define QORHEX_PLACES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reading/record_reader.h"

/// A place in the texts of an image.
struct place_t {
  /// Which of the texts, from 0.
  std::size_t file;
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

  /// Begins the next text; the first one has begun.
  void beginFile() {
    ++files;
    next.size = 0;
  }

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

  /// Returns which text the byte at `key` is from.
  std::size_t fileOf(std::uint32_t key) const;

  /// Returns the number of texts that have begun.
  std::size_t fileCount() const { return files; }

  /// Returns the size of the piece that begins at `key`.
  std::uint32_t sizeAt(std::uint32_t key) const { return runAt(key).size; }

  /// Returns all runs, in ascending order.
  const std::vector<run_t>& all() const { return runs; }

 private:
  const run_t& runAt(std::uint32_t key) const;

  void addRun(std::uint32_t key, const piece_t& piece);

  std::vector<run_t> runs;
  std::size_t files{1};
  // Of each text the key of its first piece, or of the first one behind it.
  std::vector<std::uint32_t> fileKeys;
  run_t next{};  // what continues the last one; of size 0 where nothing does
};

#endif  // QORHEX_PLACES_H
