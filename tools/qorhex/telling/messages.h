// SPDX-License-Identifier: MIT
//
// What the tool tells on standard error besides its failures: notes for the
// user who asked for them, and progress; and the text on standard output.

#ifndef QORHEX_MESSAGES_H
#define QORHEX_MESSAGES_H

#include <cstdint>
#include <iosfwd>
#include <string>

/// Begins a message about `subject` (a file, mostly) on std::cerr and returns
/// the stream. The caller ends the line.
std::ostream& messageAbout(const std::string& subject);

/// Writes `text` to standard output and returns whether it arrived there; a
/// message tells if it did not.
bool writeOutput(const std::string& text);

/// Returns `value` as "0x" and at least `digits` lower-case hex digits.
std::string hexText(std::uint64_t value, int digits);

/// Returns the size `bytes` in the largest unit that suits it, as in "1.5KiB".
std::string sizeText(std::uint64_t bytes);

/// Returns `count` and `unit`, with an "s" behind it unless `count` is 1.
std::string countText(std::uint64_t count, const std::string& unit);

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

#endif  // QORHEX_MESSAGES_H
