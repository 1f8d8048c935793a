// SPDX-License-Identifier: MIT
//
// One file that the tool writes.

#ifndef QORHEX_OUTPUT_H
#define QORHEX_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "reading/descriptor.h"
#include "writing/placement.h"
#include "writing/target.h"
#include "writing/temporary.h"

/// A file in the making.
///
/// A regular file grows under a temporary name in the folder of its target,
/// until its placement gives it the name; without that it vanishes. A target
/// that exists and is no regular file is written to directly, and so is one of
/// this process's own descriptors. Every failure throws a Failure that names
/// the target.
class OutputFile {
 public:
  /// Makes nothing yet.
  explicit OutputFile(target_t leadsTo);

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() = default;

  /// Where the file goes.
  const target_t& target() const { return destination; }

  /// Creates the temporary file, or opens the target to write to it directly.
  void open();

  /// Appends the `size` bytes at `data`.
  void append(const unsigned char* data, std::uint64_t size);

  /// Writes what is still held, and gives a replacement the mode of what it
  /// replaces, and the owner if that is allowed: if not, no set-id bits either.
  void complete();

  /// Which file holds the bytes, once complete() was called.
  const fileIdentity_t& identity() const { return written; }

  /// The open file, -1 when it is not open.
  int descriptor() const { return file.get(); }

  /// Brings the bytes to the disk and closes the file. After syncfs() has
  /// brought them there, `flushed`, it is enough to ask what came of it.
  void close(bool flushed);

  /// How the file comes to its place.
  Placement& placement() { return place; }

 private:
  void openDirectly();
  void flush();
  void takeOverFrom(const struct stat& status);
  bool reachedDisk() const;

  const target_t destination;
  TemporaryFile temporary;
  Placement place;
  Descriptor file;
  fileIdentity_t written;
  std::vector<unsigned char> buffer;
};

#endif  // QORHEX_OUTPUT_H
