// SPDX-License-Identifier: MIT
//
// From a stream to an ordered set of records and from the set to a block: the
// two steps of a load, each for itself. load() does not go this way; what it
// does instead has to give the same (plain_load.h).

#include "qorutil/intelhex.h"

#include <algorithm>
#include <fstream>
#include <ios>
#include <istream>
#include <iterator>
#include <memory>
#include <string>

#include "ihex/file_rules.h"
#include "ihex/record_types.h"

namespace {

using Record = IntelHexFile::hexfileline_t;
using RecordIterator = std::set<Record>::const_iterator;

// Tells whether the records, which are not none, lie in a block of `size`
// bytes that begins at the first of them.
bool fitIntoBlock(RecordIterator first, RecordIterator last,
                  std::uint64_t size) {
  return std::all_of(first, last, [&](const Record& record) {
    const auto offset =
        static_cast<std::uint64_t>(record.address - first->address);
    return record.extAddress == first->extAddress &&
           offset + record.data.size() <= size;
  });
}

// Reads lines as std::getline does, but lets std::bad_alloc through: a stream
// keeps it to itself, as if the file could not be read.
class LineReader {
 public:
  explicit LineReader(std::ifstream& stream)
      : file(stream), reader(stream.rdbuf()) {
    reader.exceptions(std::ios_base::badbit);
  }

  void read(std::string& line) {
    if (!file.good()) {
      std::getline(file, line);
      return;
    }
    try {
      std::getline(reader, line);
    } catch (const std::ios_base::failure&) {  // a read error
    }
    file.setstate(reader.rdstate());
  }

 private:
  std::ifstream& file;
  std::istream reader;
};

}  // namespace

bool IntelHexFile::parseHexFile(std::ifstream& file, std::set<Record>& lines) {
  LineReader reader(file);
  std::string line;
  std::uint16_t extAddress = 0;
  Record record{};
  for (;;) {
    if (file.eof()) {
      qorutil_internal::reportMissingEnd();
      return false;
    }
    reader.read(line);
    if (file.bad()) {
      // A read error is no end of file: what it left of a line is not taken.
      line.clear();
    }
    if (qorutil_internal::isEndRecord(line)) {
      return true;
    }
    record.data.clear();
    parseLine(line, record);
    if (!qorutil_internal::isSupported(line, record)) {
      return false;
    }
    if (record.type == qorutil_internal::dataRecord) {
      record.extAddress = extAddress;
      lines.insert(lines.end(), record);
    } else {
      extAddress = qorutil_internal::upperAddressOf(record.data.data());
    }
  }
}

void IntelHexFile::createNewBlock(const RecordIterator& first,
                                  const RecordIterator& last) {
  if (first == last) {
    return;
  }
  const Record& lastRecord = *std::prev(last);
  const std::uint64_t size =
      lastRecord.data.size() +
      (std::uint64_t{lastRecord.address} - std::uint64_t{first->address});
  if (!fitIntoBlock(first, last, size)) {
    qorutil_internal::reportNoSingleBlock();
    return;
  }

  auto block = std::make_unique<IntelHexFileBlock>();
  block->extAddress = first->extAddress;
  block->address = first->address;
  block->size = size;
  block->data.assign(static_cast<std::size_t>(size), 0xFF);
  for (RecordIterator record = first; record != last; ++record) {
    std::copy(record->data.begin(), record->data.end(),
              block->data.begin() + (record->address - first->address));
  }
  blocks.push_back(block.get());
  static_cast<void>(block.release());
}
