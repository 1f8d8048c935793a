// SPDX-License-Identifier: MIT
//
// The text of a HEX file: opened once, read line by line and, where it cannot
// be read twice, kept in an anonymous file.

#ifndef QORHEX_TEXT_INPUT_H
#define QORHEX_TEXT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reading/descriptor.h"
#include "reading/record.h"
#include "telling/messages.h"

/// A FILE argument, open for reading.
class TextInput {
 public:
  /// Opens `path`. Throws QorException when that fails.
  explicit TextInput(std::string path);

  /// Returns the path, which is the name in messages.
  const std::string& name() const { return path; }

  /// Returns the size in bytes, 0 where it is not known beforehand.
  std::uint64_t size() const { return bytes; }

  /// Returns the descriptor that the first reading takes the text from.
  int source() const { return file.get(); }

  /// Returns the descriptor that the first reading copies the text to, -1 when
  /// the source can be read again.
  int spool() const { return copy.get(); }

  /// Goes back to the beginning and returns a descriptor for another reading.
  int rewind() const;

  /// Reads the record at `position` of what was read before into `buffer` and
  /// returns it, without what stands behind it in the line.
  std::string_view lineAt(std::uint64_t position,
                          char (&buffer)[maxRecordText]) const;

  /// Returns the record at `position` for a message.
  std::string quoteLineAt(std::uint64_t position) const;

  /// Returns a path that gives the library the same text.
  std::string pathForLibrary() const;

 private:
  int again() const { return copy.isOpen() ? copy.get() : file.get(); }

  std::string path;
  Descriptor file;
  Descriptor copy;
  std::uint64_t bytes{0};
};

/// A line of the text; it stays valid until the next one is read.
struct line_t {
  /// The first character.
  const char* text;
  /// The number of characters, without the line feed.
  std::size_t size;
  /// The position of the first character in the text.
  std::uint64_t position;
  /// The number of the line, from 1.
  std::uint64_t number;
};

/// Reads a text in large pieces and cuts it into lines.
class LineReader {
 public:
  /// Reads from `source`, named `sourceName` in messages. What is read is also
  /// written to `spool` unless that is -1, and told to `observer`.
  LineReader(int source, int spool, std::string sourceName, Progress& observer);

  /// Reads the next line and tells whether there was one. Of a line that is
  /// longer than a piece only the first piece is given; what follows then is no
  /// line.
  bool next(line_t& line);

  /// Reads the next line if it is a sound record with nothing around it but the
  /// line's end and lies in the piece read last; tells whether it was. The line
  /// is then given without a carriage return.
  bool nextRecord(line_t& line);

  /// Reads to the end of the text and returns the number of lines there, blank
  /// ones left aside. They are not copied.
  std::uint64_t countRest();

 private:
  bool fill();

  int input;
  int output;
  std::string name;
  Progress& progress;
  std::vector<char> buffer;
  std::size_t begin{0};
  std::size_t end{0};
  std::uint64_t position{0};
  std::uint64_t number{0};
};

/// Tells whether `character` is left out at the ends of a line: a blank, a tab
/// or a carriage return.
inline bool isBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

#endif  // QORHEX_TEXT_INPUT_H
