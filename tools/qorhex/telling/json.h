// SPDX-License-Identifier: MIT
//
// All that is told, as a JSON document; qorhex.schema.json describes it.

#ifndef QORHEX_JSON_H
#define QORHEX_JSON_H

#include <string>
#include <string_view>

#include "image/differences.h"
#include "telling/report.h"
#include "telling/text_sink.h"

/// Returns `bytes` as a JSON string, in quotes. What is no UTF-8 becomes
/// U+FFFD, one for each sequence that breaks off and for each byte that begins
/// none. Control characters (U+007F to U+009F too) are escaped, so that a
/// terminal shows the document as it is.
///
///     jsonString("a\"\xFF\n");  // "a\"\uFFFD\n", the character as it is
std::string jsonString(std::string_view bytes);

/// The document, made in one go: its files, then the differences if two images
/// are compared, then the end.
class JsonDocument {
 public:
  /// Gives the text of the document to `textSink`, in pieces. Without a file
  /// and without finish() nothing is given.
  explicit JsonDocument(textSink_t textSink);

  /// Adds an entry for `report`.
  void add(const report_t& report);

  /// Ends the files and begins the differences.
  void beginDifferences();

  /// Adds a difference, behind beginDifferences().
  void add(const difference_t& difference);

  /// Ends the differences; tells whether there is one between the start
  /// addresses.
  void endDifferences(bool startAddressesDiffer);

  /// Ends the document and its line.
  void finish();

 private:
  void addNames(const report_t& report);
  void addSegments(const report_t& report);
  void addGaps(const report_t& report);
  void addRegions(const report_t& report);
  void addStartAddresses(const report_t& report);
  void addProblems(const report_t& report);

  void separate();
  void addRange(const range_t& range);
  void flush(std::size_t least);

  textSink_t sink;
  std::string text;
  bool hasDifferences{false};
};

#endif  // QORHEX_JSON_H
