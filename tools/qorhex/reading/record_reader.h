// SPDX-License-Identifier: MIT
//
// The records of a HEX text: checked, and turned into bytes at 32-bit
// addresses.

#ifndef QORHEX_RECORD_READER_H
#define QORHEX_RECORD_READER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "reading/record.h"
#include "reading/text_input.h"

/// A run of data bytes of one record. A record that wraps inside its segment
/// makes two.
struct piece_t {
  /// The address of the first byte.
  std::uint32_t address;
  /// The digits of the bytes; valid until the next piece is read.
  const char* digits;
  /// The number of bytes, never 0.
  std::size_t size;
  /// The position of the first byte among the bytes of the record.
  std::size_t skipped;
  /// The line of the record.
  std::uint64_t line;
  /// The position of the record in the text.
  std::uint64_t position;

  /// The address behind the last byte.
  std::uint64_t end() const { return std::uint64_t{address} + size; }
};

/// Reads the records of a text up to its end record.
///
/// Record types 00 to 05 are understood. The latest segment (02) or linear (04)
/// address record says where data goes; under a segment address the offsets
/// wrap inside the 64 KiB.
class RecordReader {
 public:
  /// Reads the lines of `reader`, which are those of `input`.
  RecordReader(const TextInput& input, LineReader& reader);

  /// Reads the next piece of data; false when the end record is reached.
  ///
  /// Throws QorException for a bad line, a text without an end record
  /// included: its message names file and line, the reason, and shows the line.
  bool next(piece_t& piece);

  /// Tells whether the library would read the lines up to here to the same
  /// bytes, without a message; the order of the pieces is not looked at.
  bool isPlain() const { return plain; }

  /// Returns the start address that the text names, for a message; empty
  /// without one. The last one counts.
  const std::string& entryAddress() const { return entry; }

 private:
  [[noreturn]] void fail(const std::string& reason) const;
  bool nextLine();
  void trimLine();
  bool takeData(piece_t& piece);
  void wrap(piece_t& piece);
  void takeBase(unsigned type);
  void takeEntry();

  const TextInput& text;
  LineReader& lines;
  line_t line{};
  std::uint64_t lastPosition{0};
  std::uint64_t lastNumber{1};
  record_t record{};
  piece_t wrapped{};
  std::uint32_t base{0};
  bool segmented{false};
  bool plain{true};
  std::string entry;
};

#endif  // QORHEX_RECORD_READER_H
