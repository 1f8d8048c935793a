// SPDX-License-Identifier: MIT
//
// Runs programs and gives them folders to work in.

#ifndef QORUTIL_TESTS_SUPPORT_PROCESS_H
#define QORUTIL_TESTS_SUPPORT_PROCESS_H

#include <functional>
#include <string>
#include <vector>

/// What became of a program.
struct processResult_t {
  /// The exit status; 1000 plus the number of the signal that ended it.
  int status;
  /// What went to its standard output.
  std::string out;
  /// What went to its standard error.
  std::string err;
  /// The most memory that it held at a time, in KiB.
  long peakMemory;
};

/// Runs `command` (the program's path and its arguments) in `folder`, in the C
/// locale, and waits for its end. `inChild` is called in the new process just
/// before the program starts there.
processResult_t runProcess(const std::vector<std::string>& command,
                           const std::string& folder,
                           const std::function<void()>& inChild = {});

/// A new empty folder, removed with all it holds at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The path of the folder, or of `name` in it.
  std::string path(const std::string& name = {}) const;

  /// Makes the file `name` with the bytes `contents`.
  void write(const std::string& name, const std::string& contents) const;

  /// Returns the bytes of the file `name`; a text that says so when there is
  /// none.
  std::string read(const std::string& name) const;

  /// Returns the names of all it holds, in order.
  std::vector<std::string> names() const;

 private:
  std::string root;
};

#endif  // QORUTIL_TESTS_SUPPORT_PROCESS_H
