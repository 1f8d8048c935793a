// SPDX-License-Identifier: MIT
//
// How far the work is.

#ifndef QORHEX_PROGRESS_H
#define QORHEX_PROGRESS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// The progress of one step of the work, told on standard error.
///
/// On a terminal it is a bar that grows in place, nearly as wide as the
/// terminal, and is gone at the end. Elsewhere it is lines of whole tenths:
/// "qorhex: <subject>: <step> 30%".
class Progress {
 public:
  /// Makes the progress of `stepName` on `subjectName`, `amount` units in all;
  /// with 0 units only the end is told. Silent unless `shown`.
  Progress(bool shown, const std::string& subjectName, const char* stepName,
           std::uint64_t amount);

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Removes the bar.
  ~Progress();

  /// Takes note of `amount` more units.
  void advance(std::uint64_t amount);

  /// Tells 100%, unless that was told already, and removes the bar.
  void finish();

 private:
  void tell(unsigned percent);
  void showBar(unsigned percent) const;

  bool enabled;
  std::string title;
  std::optional<std::size_t> width;  // of a terminal
  std::uint64_t total;
  std::uint64_t done{0};
  unsigned told{0};
};

#endif  // QORHEX_PROGRESS_H
