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
/// There is a list of all of them, which removeOnSignals() needs; so a
/// temporary file stays where it is in memory.
class TemporaryFile {
 public:
  /// Makes none yet.
  TemporaryFile() = default;

  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// Removes the file, if there is one.
  ~TemporaryFile();

  /// Creates the file in `folder`, which is empty for the current one or ends
  /// with a slash, with `mode` less the umask, and returns a descriptor for
  /// writing; none when that fails, with the reason in `errno`.
  Descriptor create(const std::string& folder, mode_t mode);

  /// Makes the file a second name of the file `existing`, beside it. When that
  /// fails, returns false with the reason in `errno`.
  bool createLink(const std::string& existing);

  /// Removes the file. When that fails, returns false with the reason in
  /// `errno`, and does not try again.
  bool remove();

  /// Leaves the file alone: it has its own name now, or is to stay.
  void letGo();

  /// The temporary name, with the folder.
  const std::string& name() const { return path; }

  /// Removes all that there are, before the program ends. May be called in a
  /// signal handler.
  static void removeAll();

 private:
  void enlist();

  std::string path;
  bool listed{false};
  TemporaryFile* previous{nullptr};
  TemporaryFile* next{nullptr};
};

/// Sees to it that every signal that ends the program and can be caught removes
/// the temporary files first. Those that are ignored stay ignored.
void removeOnSignals();

/// Returns the folder of `path`, with the slash at its end; empty for the
/// current one.
std::string folderOf(const std::string& path);

#endif  // QORHEX_TEMPORARY_H
