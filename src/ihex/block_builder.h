// SPDX-License-Identifier: MIT
//
// Cuts data records into blocks while they are read.

#ifndef QORUTIL_IHEX_BLOCK_BUILDER_H
#define QORUTIL_IHEX_BLOCK_BUILDER_H

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ihex/growing_block.h"
#include "ihex/record_store.h"

namespace qorutil_internal {

/// Takes data records in the order of the file and makes the blocks of an
/// image.
///
/// Records with data that ascend go straight into blocks. From the first other
/// one on, all are kept, sorted at the end and then cut: as an ordered set that
/// keeps the first of two records with one address would have it.
class BlockBuilder {
 public:
  explicit BlockBuilder(bool singleBlock);

  /// Where the data of the next record goes, before add() takes it.
  unsigned char* next() { return storing ? store.next() : growing.end(); }

  /// Takes the `count` bytes at next() as those of the record at this address.
  void add(std::uint16_t extAddress, std::uint16_t address, std::size_t count) {
    const std::uint32_t key = recordKey(extAddress, address);
    if (growing.isContinuedBy(key) && count != 0) {
      growing.append(key, count);
      counts.push_back(static_cast<std::uint8_t>(count));
    } else {
      addElsewhere(key, count);
    }
  }

  /// Makes the remaining blocks; false where the records do not fit into the
  /// single block asked for.
  bool finish();

  /// The blocks, in ascending order; complete after finish().
  std::vector<std::unique_ptr<IntelHexFileBlock>>& blocks() { return finished; }

 private:
  void addElsewhere(std::uint32_t key, std::size_t count);
  void cut(std::uint32_t key, std::size_t count);
  void storeBlocks();
  void cutStored();
  bool makeSingle();

  bool single;
  bool storing;
  bool fits{true};
  GrowingBlock growing;
  RecordStore store;
  std::vector<std::unique_ptr<IntelHexFileBlock>> finished;
  // The byte counts of the records in `finished` and `growing`, in order.
  std::vector<std::uint8_t> counts;
};

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_BLOCK_BUILDER_H
