// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <utility>

namespace {

using Record = IntelHexFile::hexfileline_t;
using RecordIterator = std::set<Record>::const_iterator;

constexpr char endRecord[] = ":00000001FF";

bool isEndRecord(const std::string& line) {
  return line.compare(0, sizeof endRecord - 1, endRecord) == 0;
}

void reportCorruptLine(const std::string& line) {
  std::cerr << "#ERROR: corrupt line data in line \"" << line << '"'
            << std::endl;
}

// The end of the run that begins at `first`: records that follow each other
// without gap or overlap under one upper address.
RecordIterator runEnd(RecordIterator first, RecordIterator end) {
  for (;;) {
    const RecordIterator current = first++;
    if (first == end || first->extAddress != current->extAddress) {
      return first;
    }
    const auto expected =
        static_cast<std::uint16_t>(current->address + current->data.size());
    if (first->address != expected) {
      return first;
    }
  }
}

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

}  // namespace

IntelHexFile::IntelHexFile() = default;

IntelHexFile::IntelHexFile(const IntelHexFile& other) {
  try {
    blocks.reserve(other.blocks.size());
    for (IntelHexFileBlock* const block : other.blocks) {
      blocks.push_back(block->clone());
    }
  } catch (...) {
    clear();
    throw;
  }
}

IntelHexFile::IntelHexFile(IntelHexFile&& other) noexcept
    : blocks(std::exchange(other.blocks, {})) {}

IntelHexFile::IntelHexFile(std::uint16_t extAddress, std::uint16_t address,
                           std::uint64_t size, const unsigned char* data) {
  auto block = std::make_unique<IntelHexFileBlock>();
  block->extAddress = extAddress;
  block->address = address;
  block->size = size;
  if (size != 0) {
    block->data.assign(data, data + size);
  }
  blocks.push_back(block.get());
  static_cast<void>(block.release());
}

IntelHexFile::IntelHexFile(const char* path, bool singleBlock) {
  load(path, singleBlock);
}

IntelHexFile& IntelHexFile::operator=(const IntelHexFile& other) {
  IntelHexFile copy(other);
  blocks.swap(copy.blocks);
  return *this;
}

IntelHexFile& IntelHexFile::operator=(IntelHexFile&& other) noexcept {
  IntelHexFile taken(std::move(other));
  blocks.swap(taken.blocks);
  return *this;
}

IntelHexFile::~IntelHexFile() {
  clear();
}

bool IntelHexFile::load(const char* path, bool singleBlock) {
  std::ifstream file(path);
  if (!file.is_open()) {
    std::cerr << "#ERROR: failed to open \"" << path << '"' << std::endl;
    return false;
  }
  std::set<Record> lines;
  if (!parseHexFile(file, lines)) {
    return false;
  }

  // The blocks grow in an image of their own, so that an exception leaves this
  // one as it was.
  IntelHexFile loaded;
  if (singleBlock) {
    loaded.createNewBlock(lines.begin(), lines.end());
    if (!lines.empty() && !loaded.hasData()) {
      return false;
    }
  } else {
    for (auto first = lines.cbegin(); first != lines.cend();) {
      const RecordIterator last = runEnd(first, lines.cend());
      loaded.createNewBlock(first, last);
      first = last;
    }
  }
  blocks.insert(blocks.end(), loaded.blocks.begin(), loaded.blocks.end());
  loaded.blocks.clear();
  return true;
}

IntelHexFileBlock* IntelHexFile::operator[](std::size_t id) const {
  if (id >= blocks.size()) {
    throw "IntelHexFile::operator[](size_t id): id outside of range!";
  }
  return blocks[id];
}

void IntelHexFile::reverseBuffers() const {
  for (IntelHexFileBlock* const block : blocks) {
    block->reverseBuffer();
  }
}

void IntelHexFile::clear() {
  for (IntelHexFileBlock* const block : blocks) {
    delete block;
  }
  blocks.clear();
}

bool IntelHexFile::hasData() const {
  return !blocks.empty();
}

std::size_t IntelHexFile::getBlockCount() const {
  return blocks.size();
}

bool IntelHexFile::parseHexFile(std::ifstream& file, std::set<Record>& lines) {
  std::string line;
  std::uint16_t extAddress = 0;
  Record record{};
  for (;;) {
    if (file.eof()) {
      std::cerr << "#ERROR: end of file reached without EoF-record. HEX file "
                   "might be corrupt."
                << std::endl;
      return false;
    }
    std::getline(file, line);
    if (file.bad()) {
      // A read error is no end of file: what it left of a line is not taken.
      line.clear();
    }
    if (isEndRecord(line)) {
      return true;
    }
    record.data.clear();
    parseLine(line, record);
    switch (record.type) {
      case 0:
        record.extAddress = extAddress;
        lines.insert(record);
        break;
      case 4:
        if (record.data.size() < 2) {
          reportCorruptLine(line);
          return false;
        }
        extAddress =
            static_cast<std::uint16_t>(record.data[0] << 8 | record.data[1]);
        break;
      case 0xFF:
        reportCorruptLine(line);
        return false;
      default:
        std::cout << line << std::endl;
        std::cerr << "#ERROR: unsupported record type found ("
                  << std::to_string(record.type) << ')' << std::endl;
        return false;
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
    std::cerr << "#ERROR: records do not fit into a single block" << std::endl;
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
