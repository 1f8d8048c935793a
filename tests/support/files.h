// SPDX-License-Identifier: MIT
//
// Files for tests: a folder that goes away again, whole contents in one call,
// and the number of open descriptors.

#ifndef QORUTIL_TESTS_SUPPORT_FILES_H
#define QORUTIL_TESTS_SUPPORT_FILES_H

#include <cstddef>
#include <string>

/// A new empty folder, removed with all it holds at the end of its life.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The path of `name` in the folder.
  std::string path(const std::string& name) const {
    return folder + '/' + name;
  }

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
