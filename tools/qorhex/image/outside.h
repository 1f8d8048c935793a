// SPDX-License-Identifier: MIT
//
// Data where the memory has no region.

#ifndef QORHEX_OUTSIDE_H
#define QORHEX_OUTSIDE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/numbers.h"
#include "image/regions.h"
#include "reading/problem.h"
#include "reading/record_reader.h"

/// Where no data may be.
struct forbidden_t {
  /// The addresses, in ascending order; no range touches the next.
  std::vector<range_t> ranges;
  /// The regions around them, in ascending order; at least one where there are
  /// addresses.
  std::vector<region_t> regions;

  /// Tells whether data may be everywhere.
  bool empty() const { return ranges.empty(); }
};

/// Returns what is forbidden where data has to be in `regions`, in ascending
/// order and at least one. Of addresses beyond `wanted`, a union as
/// uniteRanges() returns it, nothing is said unless it is empty.
forbidden_t forbidOutside(std::vector<region_t> regions,
                          const std::vector<range_t>& wanted);

/// Data outside: ascending addresses of bytes one behind the other, on one data
/// record or on several of one text with no other data record between them.
struct outside_t {
  /// The first address.
  std::uint64_t first;
  /// The number of bytes.
  std::uint64_t size;
  /// Which text, from 0.
  std::size_t file;
  /// The line and the column of the first byte.
  std::uint64_t line;
  std::uint64_t column;
  /// What is shown of that line.
  excerpt_t excerpt;
};

/// Finds the data outside while texts are read.
class Outside {
 public:
  /// Looks for data in `addresses`, which stay for the life of this.
  explicit Outside(const forbidden_t& addresses) : forbidden(addresses) {}

  /// Begins the next text; the first one has begun.
  void beginFile();

  /// Looks at `piece`, which `reader` has just read.
  void look(const piece_t& piece, const RecordReader& reader) {
    if (piece.address >= freeFirst && piece.end() <= freeEnd) {
      isOpen = false;
    } else {
      search(piece, reader);
    }
  }

  /// Returns what was found by ascending address, in the order of texts and
  /// lines where it begins at one.
  std::vector<outside_t> sorted();

 private:
  void search(const piece_t& piece, const RecordReader& reader);
  void add(const piece_t& piece, const RecordReader& reader,
           std::uint64_t first, std::uint64_t last);

  const forbidden_t& forbidden;
  // Addresses around the latest piece where data may be.
  std::uint64_t freeFirst{0};
  std::uint64_t freeEnd{0};
  std::vector<outside_t> found;
  std::size_t file{0};
  bool isOpen{false};  // whether the next piece can continue the last one found
  std::uint64_t latest{0};  // its last address
};

/// Returns the problem of the text `name` that `outside` is.
problem_t outsideProblem(const outside_t& outside, const forbidden_t& forbidden,
                         const std::string& name);

#endif  // QORHEX_OUTSIDE_H
