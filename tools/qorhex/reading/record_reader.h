// SPDX-License-Identifier: MIT
//
// The records of a HEX text: checked, decoded, and turned into bytes at 32-bit
// addresses, line by line, while the text is read.

#ifndef QORHEX_RECORD_READER_H
#define QORHEX_RECORD_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "reading/long_line.h"
#include "reading/problem.h"
#include "reading/record.h"
#include "reading/text_input.h"

/// A run of data bytes of one record. A record that wraps inside its segment
/// makes two.
struct piece_t {
  /// The address of the first byte.
  std::uint32_t address;
  /// The number of bytes, never 0.
  std::uint32_t size;
  /// The line of the record.
  std::uint64_t line;
  /// The column of the first digit of the first byte.
  std::uint64_t column;

  /// The address behind the last byte.
  std::uint64_t end() const { return std::uint64_t{address} + size; }
};

/// A start address record.
struct startAddress_t {
  /// 3 (segment and offset) or 5 (linear).
  unsigned type;
  /// The four bytes, the first one highest.
  std::uint32_t value;
  /// The line of the record.
  std::uint64_t line;
  /// Which of the texts of an image it stands in, from 0.
  std::size_t file{0};
};

/// What is wrong with a start address.
struct verdict_t {
  /// Whether it is refused or accepted with a warning.
  severity_t severity{severity_t::ERROR};
  /// Empty when nothing is wrong.
  std::string text;
};

/// Looks at a start address that is the first of its type in its text, or the
/// same once more.
using startCheck_t = std::function<verdict_t(const startAddress_t&)>;

/// Reads the records of a text up to its end record.
///
/// Record types 00 to 05 are understood. The latest segment (02) or linear (04)
/// address record says where data goes; under a segment address the offsets
/// wrap inside the 64 KiB.
///
/// Every problem goes to a sink. Where that returns, the damaged record adds no
/// bytes; behind one that may have said where data goes, data is checked but
/// not given, until the next record that says so. A text whose first line of
/// all makes it known as something else than Intel HEX has that one problem,
/// at its beginning, and is not read on.
class RecordReader {
 public:
  /// Reads `text`, which like `problemSink` stays for the life of the reader.
  /// Every start address is shown to `startCheck`.
  RecordReader(TextInput& text, const problemSink_t& problemSink,
               startCheck_t startCheck);

  /// Reads the next piece of data and puts its bytes at `room`, where
  /// `recordRoom` bytes may be written; false when the end record is reached or
  /// there is none.
  ///
  /// The lines behind the end record of a regular file are counted for a
  /// warning. Anything else is not read on.
  bool next(unsigned char* room, piece_t& piece);

  /// Returns what is shown of the line of the latest piece for a problem in
  /// `column`.
  excerpt_t excerpt(std::uint64_t column) const;

 private:
  // What a line has brought.
  enum class step_t { NOTHING, PIECE, END };

  // The line at hand; a long one stands in `longLine`, of which there may be
  // more to read while it is open.
  struct line_t {
    std::string_view text;
    std::uint64_t indent;
    bool isLong;
    bool isOpen;
  };

  step_t takeRecord(const recordHead_t& head, unsigned char* room,
                    piece_t& piece);
  step_t takeData(const recordHead_t& head, unsigned char* room,
                  piece_t& piece);
  void wrap(piece_t& piece, const unsigned char* bytes);
  void takeStart(unsigned type, const unsigned char* bytes);
  step_t readLine(unsigned char* room, piece_t& piece);
  bool findLine();
  bool endsHere() const;
  void readLongLine(bool whole);
  void endLongLine();
  step_t checkLine(unsigned char* room, piece_t& piece);
  void warnAboutRest();
  void reportMissingEnd();
  bool reportOtherKind();
  void readBeginning();
  void report(severity_t severity, std::uint64_t column,
              const std::string& text, bool summed = false);
  void refuse(std::uint64_t at, const std::string& text, bool address);

  TextInput& input;
  const problemSink_t& sink;
  startCheck_t checkStart;
  line_t line{};
  LongLine longLine{0};
  std::string firstLine;  // that is filled, where it is damaged
  std::uint64_t number{0};
  std::uint32_t base{0};
  bool segmented{false};
  bool placeKnown{true};
  bool ended{false};
  piece_t wrapped{};
  unsigned char wrappedBytes[maxRecordData]{};
  std::vector<startAddress_t> starts;
};

#endif  // QORHEX_RECORD_READER_H
