// SPDX-License-Identifier: MIT
//
// The records of a text that does not ascend: put in order, and those that
// overlap made one.

#ifndef QORHEX_RECORD_INDEX_H
#define QORHEX_RECORD_INDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reading/normal_text.h"
#include "reading/record_reader.h"

/// Where a piece of data lies, in the text and in the image.
struct indexEntry_t {
  /// The position of the record in the text.
  std::uint64_t position : 48;
  /// The number of bytes.
  std::uint64_t size : 8;
  /// The position of the first byte among the bytes of the record.
  std::uint64_t skipped : 8;
  /// The address of the first byte.
  std::uint32_t address;
  /// The line of the record.
  std::uint32_t line;
};

/// What merging did.
struct mergeCount_t {
  /// The addresses that several records gave the same byte.
  std::uint64_t repeated{0};
  /// The addresses that several records gave different bytes.
  std::uint64_t conflicting{0};
};

/// All pieces of a text, in ascending order of address; those of one address in
/// the order of the text.
class RecordIndex {
 public:
  /// Reads the `count` pieces of `input` once more.
  RecordIndex(const TextInput& input, std::uint64_t count);

  /// Tells whether two pieces have an address in common.
  bool overlaps() const;

  /// Writes every byte to `out` once, in ascending order.
  ///
  /// Where pieces give an address different bytes, that of the piece with the
  /// highest start counts, and of several with one start that of the first in
  /// the text. Without `force` such a place throws a QorException that names
  /// the address, both bytes and both lines.
  mergeCount_t merge(NormalText& out, bool force) const;

 private:
  const TextInput& text;
  std::vector<indexEntry_t> entries;
};

#endif  // QORHEX_RECORD_INDEX_H
