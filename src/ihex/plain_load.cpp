// SPDX-License-Identifier: MIT

#include "ihex/plain_load.h"

#include <fstream>
#include <iterator>

#include "ihex/file_rules.h"

namespace qorutil_internal {

namespace {

using Records = std::set<IntelHexFile::hexfileline_t>;

// The end of the run that begins at `first`: of records that each go on where
// the one before ended, under the same upper address.
Records::const_iterator endOfRun(const Records& records,
                                 Records::const_iterator first) {
  auto last = first;
  auto next = std::next(first);
  while (next != records.end()) {
    const auto expected =
        static_cast<std::uint16_t>(last->address + last->data.size());
    if (next->extAddress != last->extAddress || next->address != expected) {
      break;
    }
    last = next++;
  }
  return next;
}

}  // namespace

bool loadPlainly(IntelHexFile& image, const char* path, bool singleBlock) {
  std::ifstream file(path);
  if (!file.is_open()) {
    reportNotOpened(path);
    return false;
  }
  Records records;
  if (!image.parseHexFile(file, records)) {
    return false;
  }
  const std::size_t before = image.getBlockCount();
  if (singleBlock) {
    image.createNewBlock(records.begin(), records.end());
    return records.empty() || image.getBlockCount() > before;
  }
  auto first = records.cbegin();
  while (first != records.end()) {
    const auto last = endOfRun(records, first);
    image.createNewBlock(first, last);
    first = last;
  }
  return true;
}

}  // namespace qorutil_internal
