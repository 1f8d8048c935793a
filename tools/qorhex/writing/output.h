// SPDX-License-Identifier: MIT
//
// Raw binary files that appear whole or not at all.

#ifndef QORHEX_OUTPUT_H
#define QORHEX_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reading/descriptor.h"
#include "writing/temporary.h"

/// A file in the making.
///
/// A regular file grows under a temporary name in the folder of the target and
/// takes the target's name with commit(); without that it vanishes. A target
/// that exists and is no regular file is written to directly, and so is one of
/// this process's own descriptors (/dev/stdout). Symbolic links are followed.
/// Every failure throws a QorException that names the target.
class OutputFile {
 public:
  /// Makes the file for the target `path`.
  explicit OutputFile(std::string path);

  /// Appends the `size` bytes at `data`.
  void append(const unsigned char* data, std::uint64_t size);

  /// Appends `size` bytes 0xff.
  void appendGap(std::uint64_t size);

  /// Brings all bytes to the file and closes it.
  void complete();

  /// Gives the complete file the name of the target.
  void commit();

 private:
  void openTemporary(const std::string& resolved);
  void openDirectly();
  void flush();

  std::string target;
  std::unique_ptr<TemporaryFile> temporary;
  std::string finalPath;
  Descriptor file;
  bool replacing{false};
  unsigned mode{0};
  std::vector<unsigned char> buffer;
};

#endif  // QORHEX_OUTPUT_H
