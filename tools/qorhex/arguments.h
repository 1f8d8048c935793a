// SPDX-License-Identifier: MIT
//
// The command line of qorhex.

#ifndef QORHEX_ARGUMENTS_H
#define QORHEX_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/numbers.h"
#include "reading/failure.h"

/// The forms of what is told.
enum class format_t { TEXT, JSON };

/// What the user asks for.
struct arguments_t {
  /// The HEX files; "-" is standard input.
  std::vector<std::string> files;
  /// The file that names the regions of the memory; "-" is standard input.
  std::optional<std::string> mapFile;
  /// The folder for the segments.
  std::optional<std::string> outputFolder;
  /// The file for the whole image.
  std::optional<std::string> binaryFile;
  /// The file for the image as Intel HEX.
  std::optional<std::string> hexFile;
  /// The file for the picture of the memory.
  std::optional<std::string> pictureFile;
  /// The largest image that goes into `binaryFile`, in bytes.
  std::uint64_t maxSize{256ULL << 20U};
  /// The parts of the image that are wanted, as a union; empty for all of it.
  std::vector<range_t> ranges;
  /// The byte for gaps in `binaryFile`.
  std::optional<unsigned char> fill;
  /// Whether `binaryFile` covers all of `ranges`.
  bool pad{false};
  /// The number of bytes per line of a hex dump, when one is wanted.
  std::optional<std::uint64_t> dumpedPerLine;
  /// The form of the table, of --check and --diff, when one was asked for.
  std::optional<format_t> format;
  /// Whether the table tells all that is known.
  bool longTable{false};
  /// Whether every problem is told, and nothing else.
  bool check{false};
  /// Whether two images are compared.
  bool diff{false};
  /// Whether all files make one image.
  bool merge{false};
  /// Whether each segment is reversed.
  bool reverse{false};
  /// Whether the library gets the files unread.
  bool strict{false};
  /// Whether conflicting bytes are accepted.
  bool force{false};
  /// Whether progress is told.
  bool progress{false};
  /// How often --verbose was given.
  int verbosity{0};

  /// Tells whether anything is written.
  bool isWriting() const {
    return outputFolder || binaryFile || hexFile || pictureFile;
  }

  /// Tells whether all that is known about an image is wanted.
  bool isDescribing() const {
    return longTable || pictureFile || format == format_t::JSON;
  }

  /// Tells whether the segments are listed or dumped.
  bool isShowing() const {
    return !isWriting() || longTable || dumpedPerLine || format;
  }
};

/// Reads the command line into `arguments`. Returns the status to exit with,
/// after a message for wrong usage and after --help and --version; or nothing
/// when there is work to do. Throws Failure when an answer does not arrive.
std::optional<exitStatus_t> readArguments(int argc, char** argv,
                                          arguments_t& arguments);

/// Returns the file name in `path` without its last extension; "stdin" for "-".
std::string stemOf(const std::string& path);

#endif  // QORHEX_ARGUMENTS_H
