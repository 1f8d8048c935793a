// SPDX-License-Identifier: MIT
//
// Pieces that overlap become one image; those that contradict each other are
// told.

#ifndef QORHEX_MERGING_H
#define QORHEX_MERGING_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "image/block_maker.h"
#include "image/kept_pieces.h"
#include "reading/problem.h"

/// What merging did.
struct mergeCount_t {
  /// The addresses that several records gave the same byte.
  std::uint64_t repeated{0};
  /// The addresses that several records gave different bytes.
  std::uint64_t conflicting{0};
};

/// Where problems with the bytes of an image go.
struct byteProblems_t {
  /// Takes a problem and the address of the first of its bytes.
  std::function<void(std::uint64_t address, const problem_t& problem)> take;
  /// Tells whether the text `file` has room for one more; else its problems
  /// may be left out.
  std::function<bool(std::size_t file)> wants;
};

/// Puts every byte of the sorted `pieces` of the texts `names` into `blocks`
/// once.
///
/// Where pieces give an address different bytes, that of the last text counts,
/// in one text that of the piece with the highest start, and of several with
/// one start that of the first in the text. `sink` gets a problem of
/// `severity`, where there is one, for each pair of pieces, by the first
/// address in ascending order. It belongs to the later piece, in the order of
/// texts and lines; a warning says that it is accepted.
mergeCount_t mergePieces(const KeptPieces& pieces, BlockMaker& blocks,
                         std::optional<severity_t> severity,
                         const std::vector<std::string>& names,
                         const byteProblems_t& sink);

#endif  // QORHEX_MERGING_H
