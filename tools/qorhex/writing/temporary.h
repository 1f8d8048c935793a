// SPDX-License-Identifier: MIT
//
// Files under a temporary name, which a signal does not leave behind.

#ifndef QORHEX_TEMPORARY_H
#define QORHEX_TEMPORARY_H

#include <string>

#include <sys/types.h>

#include "reading/descriptor.h"

/// A file that exists under a temporary name, until it gets its own.
///
/// There is a list of all of them, which the handler of removeOnSignals()
/// walks; so a temporary file stays where it is in memory.
class TemporaryFile {
 public:
  /// Makes a name in `folder`, which is empty for the current one or ends with
  /// a slash.
  explicit TemporaryFile(std::string folder);

  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// Removes the file, unless it was renamed.
  ~TemporaryFile();

  /// Creates the file, with `mode` less the umask, and returns a descriptor for
  /// writing; none when that fails, with the reason in `errno`.
  Descriptor create(mode_t mode);

  /// Gives the file the name `finalPath`. When that fails, returns false with
  /// the reason in `errno`, and the file stays a temporary one.
  bool renameTo(const std::string& finalPath);

  /// Removes all such files from their folders; for a signal handler, with the
  /// end of the program to follow.
  static void removeAll();

 private:
  void enlist();
  void strikeOff();

  std::string folderName;
  std::string path;
  bool listed{false};
  TemporaryFile* previous{nullptr};
  TemporaryFile* next{nullptr};
};

/// Sees to it that the signals that end a program from outside, and that of a
/// closed pipe, remove the temporary files first. Those that are ignored stay
/// ignored, as under nohup.
void removeOnSignals();

#endif  // QORHEX_TEMPORARY_H
