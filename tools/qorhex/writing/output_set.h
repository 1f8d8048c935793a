// SPDX-License-Identifier: MIT
//
// The files of one image, which appear all or not at all.

#ifndef QORHEX_OUTPUT_SET_H
#define QORHEX_OUTPUT_SET_H

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "writing/output.h"
#include "writing/target.h"

/// The outputs of one image.
///
/// All that become regular files are complete and synced before anything is
/// written directly, and everything is written before the first file gets its
/// name. When one cannot have it, those before it give theirs back.
class OutputSet {
 public:
  /// Appends the bytes of an output to its file.
  using writer_t = std::function<void(OutputFile& file)>;

  /// Adds the output `path`, "-" for standard output; `writer` is called by
  /// write(). Nothing is written yet.
  void add(const std::string& path, writer_t writer);

  /// Refuses outputs that are one file, or one of `inUse`; then writes all and
  /// takes them down there. Throws Failure; the targets are then what they
  /// were, except for those that its text names.
  void write(FilesInUse& inUse);

  /// Calls `visit` for each file, in the order in which they were added.
  void forEach(const std::function<void(const OutputFile& file)>& visit) const;

 private:
  struct output_t {
    output_t(const std::string& path, writer_t writes)
        : file(findTarget(path)), writer(std::move(writes)) {}

    OutputFile file;
    writer_t writer;
  };

  void refuseDoubles() const;
  void writeOne(output_t& output);
  void bringToDisk();
  bool flushFileSystems() const;
  void placeAll();
  const target_t* placeEach();
  std::string takeAllBack();
  void removeOldOnes();

  // The files stay where they are in memory.
  std::deque<output_t> outputs;
  std::vector<OutputFile*> open;
};

#endif  // QORHEX_OUTPUT_SET_H
