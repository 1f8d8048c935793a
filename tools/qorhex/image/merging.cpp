// SPDX-License-Identifier: MIT

#include "image/merging.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "reading/names.h"
#include "reading/number_text.h"

namespace {

// Sorted pieces lie anywhere in memory; so many are on their way at a time.
constexpr std::size_t lookAhead = 16;

// Where two pieces contradict each other.
struct conflict_t {
  std::uint64_t first;
  std::uint64_t size;
};

unsigned char byteAt(const keptPiece_t& piece, std::uint64_t address) {
  return piece.bytes[address - piece.address];
}

conflict_t compare(const keptPiece_t& one, const keptPiece_t& two) {
  conflict_t conflict{0, 0};
  const std::uint64_t end = std::min(one.end(), two.end());
  for (std::uint64_t at = std::max(one.address, two.address); at < end; ++at) {
    if (byteAt(one, at) != byteAt(two, at) && conflict.size++ == 0) {
      conflict.first = at;
    }
  }
  return conflict;
}

class Merging {
 public:
  Merging(const KeptPieces& sorted, BlockMaker& maker, bool acceptConflicts,
          const std::string& textName, const problemSink_t& problemSink)
      : pieces(sorted),
        blocks(maker),
        force(acceptConflicts),
        name(textName),
        sink(problemSink) {}

  mergeCount_t merge() {
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      if (i + lookAhead < pieces.size()) {
        pieces.prefetch(i + lookAhead);
      }
      const keptPiece_t piece = pieces[i];
      writeUpTo(piece.address);
      if (size == 0 &&
          (i + 1 == pieces.size() || pieces.address(i + 1) >= piece.end())) {
        write(piece.address, piece.bytes, piece.size);
      } else {
        lay(piece);
      }
    }
    writeUpTo(start + size);
    return counted;
  }

 private:
  // A byte that later pieces may still overlap: as these ascend, no more than
  // one piece of the greatest length is on the way.
  struct cell_t {
    unsigned char byte;
    std::uint32_t owner;  // the start of the piece that it is from
    bool repeated;
    bool conflicting;
  };

  void lay(const keptPiece_t& piece) {
    for (std::uint32_t i = 0; i < piece.size; ++i) {
      if (i == size) {
        cells[size++] = {piece.bytes[i], piece.address, false, false};
      } else {
        layOver(cells[i], piece.bytes[i], piece.address);
      }
    }
  }

  void layOver(cell_t& cell, unsigned char byte, std::uint32_t owner) {
    if (byte == cell.byte) {
      counted.repeated += cell.repeated ? 0 : 1;
      cell.repeated = true;
    } else {
      counted.conflicting += cell.conflicting ? 0 : 1;
      cell.conflicting = true;
    }
    if (cell.owner < owner) {
      cell.owner = owner;
      cell.byte = byte;
    }
  }

  // Writes the bytes below `address`, which becomes the start.
  void writeUpTo(std::uint64_t address) {
    const auto count = static_cast<std::size_t>(
        std::min<std::uint64_t>(size, address - start));
    if (count != 0) {
      unsigned char bytes[maxRecordData];
      for (std::size_t i = 0; i < count; ++i) {
        if (cells[i].conflicting && !force) {
          report(start + i);
        }
        bytes[i] = cells[i].byte;
      }
      write(static_cast<std::uint32_t>(start), bytes, count);
      std::move(cells + count, cells + size, cells);
      size -= count;
    }
    start = address;
  }

  void write(std::uint32_t address, const unsigned char* bytes,
             std::size_t count) {
    std::copy_n(bytes, count, blocks.room());
    blocks.add(address, count);
  }

  // Reports the pairs whose first conflict is at `address`, in the order of the
  // later lines.
  void report(std::uint64_t address) const {
    std::vector<keptPiece_t> covering;
    for (std::size_t i = pieces.firstAround(address);
         i != pieces.size() && pieces.address(i) <= address; ++i) {
      if (pieces[i].end() > address) {
        covering.push_back(pieces[i]);
      }
    }
    std::sort(covering.begin(), covering.end(),
              [](const keptPiece_t& a, const keptPiece_t& b) {
                return a.key < b.key;
              });
    for (const keptPiece_t& later : covering) {
      for (const keptPiece_t& earlier : covering) {
        if (&earlier == &later) {
          break;
        }
        if (byteAt(later, address) != byteAt(earlier, address)) {
          reportPair(later, earlier, address);
        }
      }
    }
  }

  void reportPair(const keptPiece_t& later, const keptPiece_t& earlier,
                  std::uint64_t address) const {
    const conflict_t conflict = compare(later, earlier);
    if (conflict.first != address) {
      return;
    }
    const auto place = [&](const keptPiece_t& piece) {
      return pieces.places().at(
          piece.key + static_cast<std::uint32_t>(address - piece.address));
    };
    const place_t where = place(later);
    sink({severity_t::ERROR,
          name,
          where.line,
          where.column,
          "byte " + hexText(byteAt(later, address), 2) + " at " +
              hexText(address, 8) + " conflicts with " +
              hexText(byteAt(earlier, address), 2) + " of " + escapeName(name) +
              ':' + std::to_string(place(earlier).line) + ", " +
              countText(conflict.size, "byte") +
              " in all; --force accepts that",
          {}});
  }

  const KeptPieces& pieces;
  BlockMaker& blocks;
  bool force;
  const std::string& name;
  const problemSink_t& sink;
  std::uint64_t start{0};
  std::size_t size{0};
  cell_t cells[maxRecordData]{};
  mergeCount_t counted;
};

}  // namespace

mergeCount_t mergePieces(const KeptPieces& pieces, BlockMaker& blocks,
                         bool force, const std::string& name,
                         const problemSink_t& sink) {
  return Merging(pieces, blocks, force, name, sink).merge();
}
