// SPDX-License-Identifier: MIT

#include "image/merging.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

#include "image/numbers.h"
#include "reading/names.h"
#include "reading/number_text.h"

namespace {

// Sorted pieces lie anywhere in memory; so many are on their way at a time.
constexpr std::size_t lookAhead = 16;

unsigned char byteAt(const keptPiece_t& piece, std::uint64_t address) {
  return piece.bytes[address - piece.address];
}

bool comesFirst(const keptPiece_t& a, const keptPiece_t& b) {
  return a.key < b.key;
}

// Tells whether `address` is the first that two pieces with a conflict there
// give different bytes.
bool isFirstConflict(const keptPiece_t& one, const keptPiece_t& two,
                     std::uint64_t address) {
  std::uint64_t at = std::max(one.address, two.address);
  while (byteAt(one, at) == byteAt(two, at)) {
    ++at;
  }
  return at == address;
}

// Where pieces or records contradict each other.
struct conflict_t {
  std::uint64_t first;
  std::uint64_t size;
};

void addConflicts(const keptPiece_t& one, const keptPiece_t& two,
                  conflict_t& conflict) {
  const std::uint64_t end = std::min(one.end(), two.end());
  for (std::uint64_t at = std::max(one.address, two.address); at < end; ++at) {
    if (byteAt(one, at) != byteAt(two, at)) {
      conflict.first = std::min(conflict.first, at);
      ++conflict.size;
    }
  }
}

class Merging {
 public:
  Merging(const KeptPieces& sorted, BlockMaker& maker,
          std::optional<severity_t> conflictSeverity,
          const std::vector<std::string>& textNames,
          const byteProblems_t& problemSink)
      : pieces(sorted),
        blocks(maker),
        severity(conflictSeverity),
        names(textNames),
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
    std::uint64_t owner;  // the piece that it is from: text and start
    bool repeated;
    bool conflicting;
  };

  void lay(const keptPiece_t& piece) {
    const std::uint64_t owner =
        std::uint64_t{pieces.places().fileOf(piece.key)} << 32U | piece.address;
    for (std::uint32_t i = 0; i < piece.size; ++i) {
      if (i == size) {
        cells[size++] = {piece.bytes[i], owner, false, false};
      } else {
        layOver(cells[i], piece.bytes[i], owner);
      }
    }
  }

  void layOver(cell_t& cell, unsigned char byte, std::uint64_t owner) {
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
        if (cells[i].conflicting && severity) {
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
  // later lines. The pieces are kept by what they say there, so that many that
  // agree cost little.
  void report(std::uint64_t address) const {
    std::map<unsigned char, std::vector<keptPiece_t>> said;
    for (const keptPiece_t& later : covering(address)) {
      const unsigned char byte = byteAt(later, address);
      if (sink.wants(pieces.places().fileOf(later.key))) {
        std::vector<keptPiece_t> contradicted;
        for (const auto& [other, earlier] : said) {
          if (other != byte) {
            contradicted.insert(contradicted.end(), earlier.begin(),
                                earlier.end());
          }
        }
        std::sort(contradicted.begin(), contradicted.end(), comesFirst);
        for (const keptPiece_t& earlier : contradicted) {
          reportPair(later, earlier, address);
        }
      }
      said[byte].push_back(later);
    }
  }

  // The pieces that have `address`, in the order of texts and lines.
  std::vector<keptPiece_t> covering(std::uint64_t address) const {
    std::vector<keptPiece_t> found;
    for (std::size_t i = pieces.firstAround(address);
         i != pieces.size() && pieces.address(i) <= address; ++i) {
      const keptPiece_t piece = pieces[i];
      if (piece.end() > address) {
        found.push_back(piece);
      }
    }
    std::sort(found.begin(), found.end(), comesFirst);
    return found;
  }

  // Compares the records that the two pieces are from.
  conflict_t compareRecords(const keptPiece_t& one,
                            const keptPiece_t& two) const {
    const auto piecesOf = [this](const keptPiece_t& piece) {
      std::vector<keptPiece_t> all{piece};
      if (const auto other = pieces.otherHalf(piece)) {
        all.push_back(*other);
      }
      return all;
    };
    conflict_t conflict{lastAddress, 0};
    for (const keptPiece_t& ofOne : piecesOf(one)) {
      for (const keptPiece_t& ofTwo : piecesOf(two)) {
        addConflicts(ofOne, ofTwo, conflict);
      }
    }
    return conflict;
  }

  void reportPair(const keptPiece_t& later, const keptPiece_t& earlier,
                  std::uint64_t address) const {
    if (!isFirstConflict(later, earlier, address)) {
      return;
    }
    const conflict_t conflict = compareRecords(later, earlier);
    if (conflict.first != address) {
      return;
    }
    const auto place = [&](const keptPiece_t& piece) {
      return pieces.places().at(
          piece.key + static_cast<std::uint32_t>(address - piece.address));
    };
    const place_t where = place(later);
    const place_t other = place(earlier);
    const std::string text =
        "byte " + hexText(byteAt(later, address), 2) + " at " +
        addressText(address) + " conflicts with " +
        hexText(byteAt(earlier, address), 2) + " of " +
        escapeName(names[other.file]) + ':' + std::to_string(other.line) +
        ", " + countText(conflict.size, "byte") +
        (severity == severity_t::ERROR ? " in all; --force accepts that"
                                       : " in all; accepted (--force)");
    sink.take(address, {*severity,
                        names[where.file],
                        where.line,
                        where.column,
                        text,
                        {},
                        where.file,
                        *severity == severity_t::WARNING});
  }

  const KeptPieces& pieces;
  BlockMaker& blocks;
  std::optional<severity_t> severity;
  const std::vector<std::string>& names;
  const byteProblems_t& sink;
  std::uint64_t start{0};
  std::size_t size{0};
  cell_t cells[maxRecordData]{};
  mergeCount_t counted;
};

}  // namespace

mergeCount_t mergePieces(const KeptPieces& pieces, BlockMaker& blocks,
                         std::optional<severity_t> severity,
                         const std::vector<std::string>& names,
                         const byteProblems_t& sink) {
  return Merging(pieces, blocks, severity, names, sink).merge();
}
