// SPDX-License-Identifier: MIT
//
// Reads a file into blocks, the fast way.

#ifndef QORUTIL_IHEX_LOADER_H
#define QORUTIL_IHEX_LOADER_H

#include "qorutil/intelhex.h"

#include <cstdint>
#include <memory>
#include <vector>

#include "ihex/block_builder.h"
#include "ihex/text_reader.h"

namespace qorutil_internal {

/// One load of one file: the same as loadPlainly(), without a string and a set
/// node for each record. The lines that are plainly sound, in other words
/// nearly all, are decoded where they were read; every other goes through
/// parseLine().
class Loader {
 public:
  /// Opens the file `name`; the text has to stay until the load is done.
  Loader(const char* name, bool singleBlock);

  /// Reads the file and makes its blocks; to be called once. False where a
  /// message told why there are none.
  bool load();

  /// The blocks, in ascending order, which the caller may take.
  std::vector<std::unique_ptr<IntelHexFileBlock>>& blocks() {
    return builder.blocks();
  }

 private:
  enum class OddLine { READ, END, REFUSED };

  bool readRecords();
  bool readSoundLine();
  OddLine readOddLine();

  const char* path;
  TextReader reader;
  BlockBuilder builder;
  std::uint16_t upperAddress{0};
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_LOADER_H
