// SPDX-License-Identifier: MIT

#include "reading/record_index.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>

#include "reading/descriptor.h"
#include "reading/failure.h"
#include "telling/messages.h"

namespace {

std::uint64_t endOf(const indexEntry_t& entry) {
  return std::uint64_t{entry.address} + entry.size;
}

// Entries of one address stay in the order in which they are.
void sortByAddress(std::vector<indexEntry_t>& entries) {
  std::vector<indexEntry_t> sorted(entries.size());
  for (unsigned shift = 0; shift < 32; shift += 8) {
    std::size_t places[257]{};
    for (const indexEntry_t& entry : entries) {
      ++places[(entry.address >> shift & 0xFFU) + 1];
    }
    std::partial_sum(std::begin(places), std::end(places), std::begin(places));
    for (const indexEntry_t& entry : entries) {
      sorted[places[entry.address >> shift & 0xFFU]++] = entry;
    }
    entries.swap(sorted);
  }
}

[[noreturn]] void failOnConflict(const TextInput& text, std::uint64_t address,
                                 std::pair<const indexEntry_t*, unsigned> one,
                                 std::pair<const indexEntry_t*, unsigned> two) {
  if (one.first->position > two.first->position) {
    std::swap(one, two);
  }
  throw Failure(
      REFUSED, text.name(),
      "line " + std::to_string(two.first->line) + ": byte " +
          hexText(two.second, 2) + " at " + hexText(address, 8) +
          " conflicts with " + hexText(one.second, 2) + " of line " +
          std::to_string(one.first->line) +
          " (--force accepts that): " + text.quoteLineAt(two.first->position) +
          ", line " + std::to_string(one.first->line) + ": " +
          text.quoteLineAt(one.first->position));
}

// The bytes that later pieces may still overlap: as these ascend, no more than
// one piece of the greatest length. Whatever lies before them is final.
class Window {
 public:
  Window(const TextInput& input, NormalText& normalText, bool acceptConflicts)
      : text(input), out(normalText), force(acceptConflicts) {}

  void add(const indexEntry_t& piece, const unsigned char* data) {
    writeUpTo(piece.address);
    for (std::size_t i = 0; i < piece.size; ++i) {
      if (i == size) {
        bytes[size] = data[i];
        cells[size++] = {&piece, false, false};
      } else {
        lay(piece, data[i], i);
      }
    }
  }

  // Writes the bytes below `address`, which becomes the start.
  void writeUpTo(std::uint64_t address) {
    const auto count = static_cast<std::size_t>(
        std::min<std::uint64_t>(size, address - start));
    if (count != 0) {
      out.add(static_cast<std::uint32_t>(start), bytes, count);
    }
    std::move(bytes + count, bytes + size, bytes);
    std::move(cells + count, cells + size, cells);
    size -= count;
    start = address;
  }

  const mergeCount_t& counts() const { return counted; }

 private:
  struct cell_t {
    const indexEntry_t* owner;
    bool repeated;
    bool conflicting;
  };

  // Lays `byte` of `piece` over the byte that is there already.
  void lay(const indexEntry_t& piece, unsigned char byte, std::size_t at) {
    cell_t& cell = cells[at];
    if (byte == bytes[at]) {
      counted.repeated += cell.repeated ? 0 : 1;
      cell.repeated = true;
    } else {
      if (!force) {
        failOnConflict(text, start + at, {cell.owner, bytes[at]},
                       {&piece, byte});
      }
      counted.conflicting += cell.conflicting ? 0 : 1;
      cell.conflicting = true;
    }
    if (cell.owner->address < piece.address) {
      cell.owner = &piece;
      bytes[at] = byte;
    }
  }

  const TextInput& text;
  NormalText& out;
  bool force;
  std::uint64_t start{0};
  std::size_t size{0};
  unsigned char bytes[maxRecordData]{};
  cell_t cells[maxRecordData]{};
  mergeCount_t counted;
};

}  // namespace

RecordIndex::RecordIndex(const TextInput& input, std::uint64_t count)
    : text(input) {
  entries.reserve(static_cast<std::size_t>(count));
  Progress silent(false, input.name(), "", 0);
  LineReader lines(input.rewind(), -1, input.name(), silent);
  RecordReader records(input, lines);
  constexpr std::uint64_t lastLine = std::numeric_limits<std::uint32_t>::max();
  for (piece_t piece{}; records.next(piece);) {
    indexEntry_t entry{};
    entry.position = piece.position & 0xFFFFFFFFFFFFU;
    entry.size = piece.size & 0xFFU;
    entry.skipped = piece.skipped & 0xFFU;
    entry.address = piece.address;
    entry.line = static_cast<std::uint32_t>(std::min(piece.line, lastLine));
    entries.push_back(entry);
  }
  sortByAddress(entries);
}

bool RecordIndex::overlaps() const {
  return std::adjacent_find(
             entries.begin(), entries.end(),
             [](const indexEntry_t& one, const indexEntry_t& two) {
               return endOf(one) > two.address;
             }) != entries.end();
}

mergeCount_t RecordIndex::merge(NormalText& out, bool force) const {
  Window window(text, out, force);
  for (const indexEntry_t& entry : entries) {
    char buffer[maxRecordText];
    const std::string_view line = text.lineAt(entry.position, buffer);
    const record_t record{line.data()};
    if (soundRecord(line.data(), line.size()) == 0 ||
        record.size() < std::uint64_t{entry.skipped} + entry.size) {
      throw Failure(REFUSED, text.name(), "changed while it was read");
    }
    unsigned char bytes[maxRecordData];
    decodeBytes(record.digits(entry.skipped), entry.size, bytes);
    window.add(entry, bytes);
  }
  window.writeUpTo(std::uint64_t{1} << 32U);
  return window.counts();
}
