// SPDX-License-Identifier: MIT
//
// What is wrong with a text, as data. telling/problems.h turns it into text.

#ifndef QORHEX_PROBLEM_H
#define QORHEX_PROBLEM_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Whether a problem keeps the file from being used.
enum class severity_t { ERROR, WARNING };

/// What is shown of a line: all of it, or what stands around a column.
struct excerpt_t {
  /// The bytes, as they are in the text.
  std::string text;
  /// The column of the first of them.
  std::uint64_t firstColumn;
};

/// One problem of a text.
struct problem_t {
  /// Whether it is an error or what is accepted with a warning.
  severity_t severity;
  /// The name of the text, as it is.
  std::string file;
  /// The number of the line, from 1; 0 where the problem has none.
  std::uint64_t line;
  /// The byte of the line, from 1, blanks and a byte-order mark included.
  std::uint64_t column;
  /// What is wrong and what to do.
  std::string text;
  /// The line, where it is still at hand.
  std::optional<excerpt_t> excerpt;
  /// Which of the texts of an image it is, from 0.
  std::size_t fileIndex{0};
  /// Whether a message that sums up says enough of it, unless all are told.
  bool isSummed{false};
};

/// Takes every problem at the time when it is found. It may return: reading
/// then goes on, as if what is damaged were not there. What it throws ends the
/// reading.
using problemSink_t = std::function<void(const problem_t&)>;

/// Thrown for the first error of a file, where one is enough. It is told by
/// then.
class Refusal : public std::exception {};

/// The longest line that is shown whole.
constexpr std::size_t longestShownLine = 531;

/// What is shown of longer ones.
constexpr std::size_t shownOfLongLine = 80;

/// Returns what is shown of `line` for a problem in `column`.
excerpt_t excerptOf(std::string_view line, std::uint64_t column);

#endif  // QORHEX_PROBLEM_H
