// SPDX-License-Identifier: MIT
//
// Tells the problems of an image as they are found.

#ifndef QORHEX_PROBLEM_LOG_H
#define QORHEX_PROBLEM_LOG_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "reading/failure.h"
#include "reading/problem.h"

/// How problems are told.
struct problemStyle_t {
  /// Whether every problem is told, on standard output with a summary for each
  /// FILE; else the first error of each ends its telling, on standard error.
  bool all{false};
  /// Whether the problems are kept for somebody else to tell, too.
  bool kept{false};
  /// Whether nothing goes to standard output.
  bool silent{false};
};

/// The problems of the FILEs of one image.
class ProblemLog {
 public:
  /// Makes the log of the FILEs `fileNames`.
  ProblemLog(problemStyle_t problemStyle, std::vector<std::string> fileNames);

  /// Takes `problem` and tells it, unless its FILE is told enough of.
  ///
  /// Throws Refusal behind an error that ends the work on its FILE: while lines
  /// are read every one, later the one that leaves no FILE without an error.
  /// Never when all are told.
  void take(const problem_t& problem);

  /// Tells whether anything more is told of the FILE `index`.
  bool wants(std::size_t index) const {
    return style.all ||
           (counts[index].errors == 0 && counts[index].leftOut == ALL_WELL);
  }

  /// Says that all FILEs are read.
  void endLines() { inLines = false; }

  /// Takes note that the FILE `index` could not be read, and why; it gets no
  /// summary.
  void leaveOut(std::size_t index, const Failure& failure);

  /// Tells the summary of each FILE, when all problems are told.
  void finish();

  /// Tells whether every FILE has an error or was left out.
  bool isAllOver() const;

  /// Returns the highest status of the FILEs.
  exitStatus_t status() const;

  /// Hands over the problems, where they are kept, in the order in which they
  /// are told.
  std::vector<problem_t> release();

 private:
  // What is known of a FILE.
  struct count_t {
    std::uint64_t errors{0};
    std::uint64_t warnings{0};
    exitStatus_t leftOut{ALL_WELL};
  };

  void tellSorted() const;

  problemStyle_t style;
  std::vector<std::string> names;
  std::vector<count_t> counts;
  bool inLines{true};
  std::vector<problem_t> problems;
};

#endif  // QORHEX_PROBLEM_LOG_H
