// SPDX-License-Identifier: MIT
//
// Files for tests: a folder that goes away again, whole contents in one call,
// and the number of open descriptors.

#ifndef QORUTIL_TESTS_SUPPORT_FILES_H
#define QORUTIL_TESTS_SUPPORT_FILES_H

#include <cstddef>
#include <string>
#include <vector>

/// A new empty folder, removed with all it holds at the end of its life.
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
  std::string folder;
};

/// Returns the contents of the file `path`. Throws std::runtime_error when
/// there is no such file.
std::string readFile(const std::string& path);

/// Creates or replaces the file `path` with `contents` and returns `path`.
/// Throws std::runtime_error when that does not work.
std::string writeFile(const std::string& path, const std::string& contents);

/// Returns the number of descriptors that are open in this process.
std::size_t openDescriptors();

#endif  // QORUTIL_TESTS_SUPPORT_FILES_H
