// SPDX-License-Identifier: MIT
//
// The reading and merging of HEX texts once more, as plainly as it can be said:
// one line after the other, and a dictionary from address to byte. The tool is
// held against it.

#ifndef QORUTIL_TESTS_TOOLS_QORHEX_PLAIN_READER_H
#define QORUTIL_TESTS_TOOLS_QORHEX_PLAIN_READER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "image/image.h"
#include "reading/problem.h"

/// A problem that qorhex has to tell.
struct plainProblem_t {
  bool isError;
  std::size_t file;
  std::uint64_t line;
  std::uint64_t column;
  std::string text;
  /// The line, where it is shown.
  std::optional<std::string> shown;
};

/// A byte of the image and the place of its digits.
struct plainByte_t {
  unsigned char byte;
  std::uint32_t start;  // the first address of the piece that it is from
  std::size_t file;
  std::uint64_t line;
  std::uint64_t column;
};

/// A start address record.
struct plainStart_t {
  unsigned type;
  std::uint32_t value;
  std::uint64_t line;
  std::size_t file;
};

/// Reads the texts of one image; lines may be added while it is looked at.
class PlainReader {
 public:
  /// With `acceptsConflicts` as under --force; `tellsAccepted` as in what tells
  /// all.
  explicit PlainReader(bool acceptsConflicts, bool tellsAccepted = false)
      : force(acceptsConflicts), tells(tellsAccepted) {}

  /// Reads a text as a whole.
  void read(const std::string& name, std::string_view text, bool regular);

  /// Begins a text, which is a regular file or a pipe; `beginning` is as much
  /// of it as shows what kind of file it is.
  void beginText(const std::string& name, bool regular,
                 std::string_view beginning);

  /// Adds the next line of the text, which comes without its line feed.
  void addLine(std::string_view line);

  /// Ends the text.
  void endText();

  /// Returns all problems in the order in which they are told, as if the texts
  /// ended here.
  std::vector<plainProblem_t> problems() const;

  /// Tells whether there is an error among the problems.
  bool isRefused() const;

  /// The bytes by address.
  const std::map<std::uint64_t, plainByte_t>& bytes() const { return image; }

  /// The start addresses, and those that a later text has replaced.
  std::vector<plainStart_t> starts;
  std::vector<plainStart_t> replacedStarts;

  /// Counts the addresses that records give different bytes, and those that
  /// several give.
  std::uint64_t conflicting() const;
  std::uint64_t repeated() const;

 private:
  // A byte of a record.
  struct cell_t {
    std::uint32_t address;
    unsigned char byte;
    std::uint64_t column;
  };

  struct record_t {
    std::size_t file;
    std::uint64_t line;
    std::vector<cell_t> cells;
  };

  // What a record gives an address.
  struct holder_t {
    std::size_t record;
    std::size_t cell;
  };

  void complain(bool isError, std::uint64_t column, const std::string& text);
  void refuse(std::uint64_t at, const std::string& text, bool perhapsAddress);
  void takeRecord(const std::string& bytes);
  void takeData(unsigned offset, const std::string& data);
  void takeStart(unsigned type, std::uint32_t value);
  std::string judgeStart(const plainStart_t& start);
  void place(const record_t& record);
  std::optional<plainProblem_t> problemOfTheEnd() const;
  void addConflicts(std::vector<plainProblem_t>& all) const;

  bool force;
  bool tells;
  std::vector<std::string> names;
  std::vector<plainProblem_t> ofLines;
  std::vector<record_t> records;
  std::map<std::uint64_t, plainByte_t> image;
  std::map<std::uint64_t, std::vector<holder_t>> shared;  // by several records

  // Of the text at hand.
  bool isOpen{false};
  bool isRegular{true};
  std::string first;
  std::string current;  // the line
  std::uint64_t indent{0};
  std::uint64_t number{0};
  std::uint64_t base{0};
  bool wraps{false};
  bool placeKnown{true};
  bool ended{false};
  bool otherFile{false};
  std::uint64_t behind{0};  // lines behind the end record
  std::uint64_t firstBehind{0};
  std::string firstLineBehind;
  std::vector<plainStart_t> startsOfText;
};

/// Returns what is different between the problems that were told and those of
/// the plain reader; nothing where they are the same.
std::string differenceOfProblems(const std::vector<problem_t>& problems,
                                 const PlainReader& plain);

/// The same for the bytes, their places, the start addresses and what was
/// merged.
std::string differenceOfImages(const image_t& image, const PlainReader& plain);

#endif  // QORUTIL_TESTS_TOOLS_QORHEX_PLAIN_READER_H
