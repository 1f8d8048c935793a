// SPDX-License-Identifier: MIT
//
// How far the work is.

#ifndef QORHEX_PROGRESS_H
#define QORHEX_PROGRESS_H

#include <cstdint>
#include <string>

/// The progress of one step of the work, told in lines of whole tenths:
/// "qorhex: <subject>: <step> 30%".
class Progress {
 public:
  /// Makes the progress of `stepName` on `subjectName`, `amount` units in all;
  /// with 0 units only the end is told. Silent unless `shown`.
  Progress(bool shown, std::string subjectName, const char* stepName,
           std::uint64_t amount);

  /// Takes note of `amount` more units.
  void advance(std::uint64_t amount);

  /// Tells 100%, unless that was told already.
  void finish();

 private:
  void tell(unsigned reached);

  bool enabled;
  std::string subject;
  const char* step;
  std::uint64_t total;
  std::uint64_t done{0};
  unsigned told{0};
};

#endif  // QORHEX_PROGRESS_H
