// SPDX-License-Identifier: MIT
//
// A HEX text into which faults are put. Where each is to be told follows from
// how it was made; nothing of qorhex is asked.

#ifndef QORHEX_TESTS_FAULTY_FILE_H
#define QORHEX_TESTS_FAULTY_FILE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <random>
#include <set>
#include <string>
#include <vector>

/// A problem that is to be told.
struct expectedProblem_t {
  /// As "FILE:LINE:COLUMN: error: ".
  std::string place;
  /// What occurs in the message.
  std::string text;
  /// The line and the caret below the message; empty where there are none.
  std::string excerpt;

  bool isError() const { return place.find(": error: ") != place.npos; }
};

/// A sound text of types 00, 01, 03, 04 and 05, and the faults in it.
class FaultyFile {
 public:
  /// Takes the `text` of the file `name`; `randomness` stays for the life of
  /// the object. A line end is that of the first line.
  FaultyFile(std::string name, const std::string& text,
             std::mt19937& randomness);

  /// Returns the name.
  const std::string& name() const { return fileName; }

  /// Returns the upper halves of the addresses that the text has data at.
  std::set<std::uint32_t> upperHalves() const;

  // Each puts in one fault.

  /// Replaces the start code.
  void loseStartCode();
  /// Makes a digit something else, not one of the type's.
  void misspellDigit();
  /// Cuts off characters, not the type.
  void cutShort();
  /// Adds characters.
  void lengthen();
  /// Makes the checksum a wrong one.
  void spoilChecksum();
  /// Gives a record a type above 05.
  void useUnknownType();
  /// Adds a record of type 01, 03 or 05 with a number of bytes that it must not
  /// have.
  void miscountData();
  /// Adds a start address that contradicts an earlier one.
  void contradictStart();
  /// Adds data that goes on behind the last address.
  void passTheEnd();
  /// Adds data that contradicts the file's own.
  void contradictData();
  /// Adds data whose address has the upper half `upper`, where no region is.
  void stray(std::uint32_t upper);
  /// Adds a damaged record that may have said where data goes.
  void damageAddress();
  /// Removes or damages the end record. Only as the last fault.
  void loseEnd();
  /// Adds lines behind the end record. Only as the last fault.
  void goOnBehindEnd();

  /// Returns the text.
  std::string text() const;

  /// Returns the problems in the order in which they are found, without those
  /// that are found when all has been read.
  std::vector<expectedProblem_t> problems() const;

  /// Returns the others, in no order.
  std::vector<expectedProblem_t> lateProblems() const;

 private:
  struct line_t;
  using lines_t = std::list<line_t>;

  struct told_t {
    bool isError;
    std::size_t at;
    std::string text;
    const line_t* other;
  };

  struct line_t {
    std::string body;
    std::string indent;
    std::uint32_t upper;
    // Whether the line is the file's own, and no fault has to do with it.
    bool isFree;
    // Whether its bytes count.
    bool isPlaced;
    std::vector<told_t> told;
    std::vector<told_t> toldLate;
  };

  std::size_t below(std::size_t end);

  template <typename Values>
  auto any(const Values& values) {
    return values[below(values.size())];
  }

  std::vector<lines_t::iterator> freeLines(lines_t::iterator begin,
                                           lines_t::iterator end, bool placed);
  lines_t::iterator freeLine(bool placed);
  line_t& takeLine();
  line_t& insert(lines_t::iterator before, const std::string& body);
  void indentSome(line_t& line);
  void insertAt(lines_t::iterator before, std::uint32_t upper,
                const std::string& body);
  std::vector<expectedProblem_t> collect(bool late) const;
  expectedProblem_t expected(const line_t& line, std::size_t number,
                             const told_t& told) const;
  std::size_t numberOf(const line_t& wanted) const;

  std::string fileName;
  std::mt19937& random;
  std::string ending;
  lines_t lines;
  lines_t::iterator firstStart;
};

#endif  // QORHEX_TESTS_FAULTY_FILE_H
