// SPDX-License-Identifier: MIT
//
// From pieces in any order to the blocks of an image.

#ifndef QORHEX_IMAGE_BUILDER_H
#define QORHEX_IMAGE_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/block_maker.h"
#include "image/image.h"
#include "image/kept_pieces.h"
#include "image/merging.h"
#include "image/places.h"
#include "reading/record_reader.h"

/// Makes blocks of pieces as they come, as long as they ascend, and else keeps
/// them.
class ImageBuilder {
 public:
  /// Fills `target`, which stays for the life of the builder.
  explicit ImageBuilder(image_t& target)
      : image(target), blocks(target.blocks) {}

  /// Says that a text of `size` characters comes, 0 where that is not known.
  void expect(std::uint64_t size);

  /// Begins the next text; the first one has begun.
  void beginFile();

  /// Returns where the bytes of the next piece are to be put.
  unsigned char* room() { return kept ? kept->room() : blocks.room(); }

  /// Takes `piece`, whose bytes are at room().
  void add(const piece_t& piece) {
    if (kept) {
      kept->add(piece);
    } else if (piece.address >= blocks.end()) {
      places.add(piece.address, piece);
      blocks.add(piece.address, piece.size);
    } else {
      keepAll(piece);
    }
  }

  /// Merges what overlaps and makes the last block; see mergePieces().
  void finish(std::optional<severity_t> severity,
              const std::vector<std::string>& names,
              const byteProblems_t& sink);

 private:
  void keepAll(const piece_t& piece);

  image_t& image;
  BlockMaker blocks;
  Places places;
  std::optional<KeptPieces> kept;
  std::uint64_t expected{0};  // pieces
};

#endif  // QORHEX_IMAGE_BUILDER_H
