// SPDX-License-Identifier: MIT
//
// Pieces that overlap become one image; those that contradict each other are
// told.

#ifndef QORHEX_MERGING_H
#define QORHEX_MERGING_H

#include <cstdint>
#include <string>

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

/// Puts every byte of the sorted `pieces` into `blocks` once.
///
/// Where pieces give an address different bytes, that of the piece with the
/// highest start counts, and of several with one start that of the first in
/// the text. Unless `force` accepts such places, `sink` gets a problem of the
/// text `name` for each pair of pieces, by the first address in ascending
/// order.
mergeCount_t mergePieces(const KeptPieces& pieces, BlockMaker& blocks,
                         bool force, const std::string& name,
                         const problemSink_t& sink);

#endif  // QORHEX_MERGING_H
