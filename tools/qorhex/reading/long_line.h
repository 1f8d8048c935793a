// SPDX-License-Identifier: MIT
//
// Lines that no buffer holds.

#ifndef QORHEX_LONG_LINE_H
#define QORHEX_LONG_LINE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "reading/problem.h"
#include "reading/record.h"

/// Tells whether `character` is left out at the ends of a line: a blank, a tab
/// or a carriage return.
inline bool isBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

/// A line of any length, of which it keeps what can matter, character by
/// character: a record may stand in it, between blanks.
class LongLine {
 public:
  /// Begins a line; the first `skipped` characters are no part of the record,
  /// whatever they are.
  explicit LongLine(std::size_t skipped) : skip(skipped) {}

  /// Adds the next character, which is no line feed.
  void add(char character);

  /// Ends the line, which is longer than what is shown of it; a carriage return
  /// that came last is no part of it.
  void end();

  /// Tells whether the line is damaged, whatever follows, and enough of it is
  /// there to be shown.
  bool isLost() const;

  /// Tells whether there is nothing but blanks.
  bool isBlankLine() const { return head.empty(); }

  /// The number of characters.
  std::uint64_t size() const { return length; }

  /// The number of characters in front of the body.
  std::uint64_t indent() const { return bodyBegin; }

  /// What stands between the blanks, of a line that is not blank.
  lineBody_t body() const;

  /// Returns what is shown of the line for a problem in `column`; its end where
  /// the column is not kept.
  excerpt_t excerpt(std::uint64_t column) const;

 private:
  static constexpr std::size_t around = shownOfLongLine / 2;
  static constexpr std::uint64_t nowhere = ~std::uint64_t{0};

  // Characters from some before a place of interest to some behind it.
  struct window_t {
    std::uint64_t first{nowhere};
    std::size_t wanted{0};
    std::string text{};
  };

  void open(window_t& window, std::size_t behind) const;

  std::size_t skip;
  std::uint64_t length{0};
  std::string beginning;  // the first characters of the line
  std::string recent;     // the last characters before this one
  std::uint64_t bodyBegin{0};
  std::string head;            // of the body
  std::uint64_t gap{nowhere};  // the first blank behind the body, maybe in it
  std::uint64_t strange{nowhere};  // the first character that is no digit
  window_t start;
  window_t odd;  // around the gap, or what is strange
};

#endif  // QORHEX_LONG_LINE_H
