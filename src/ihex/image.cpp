// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include "ihex/block_builder.h"
#include "ihex/record_decoder.h"
#include "ihex/text_reader.h"

namespace {

using qorutil_internal::BlockBuilder;
using qorutil_internal::dataRecord;
using qorutil_internal::decodeRecord;
using qorutil_internal::noRecord;
using qorutil_internal::RecordHead;
using qorutil_internal::TextReader;
using qorutil_internal::upperAddressRecord;
using Record = IntelHexFile::hexfileline_t;
using RecordIterator = std::set<Record>::const_iterator;

constexpr char endRecord[] = ":00000001FF";

bool isEndRecord(const std::string& line) {
  return line.compare(0, sizeof endRecord - 1, endRecord) == 0;
}

// The length of the line whose record has `length` characters, with its line
// break; 0 where something else follows the record.
std::size_t endOfLine(const char* text, std::size_t length) {
  if (text[length] == '\n') {
    return length + 1;
  }
  return text[length] == '\r' && text[length + 1] == '\n' ? length + 2 : 0;
}

void reportMissingEnd() {
  std::cerr << "#ERROR: end of file reached without EoF-record. HEX file "
               "might be corrupt."
            << std::endl;
}

void reportNoSingleBlock() {
  std::cerr << "#ERROR: records do not fit into a single block" << std::endl;
}

// Tells whether the record that parseLine() made of `line` is one of data or of
// an upper address; says what is wrong with another.
bool isSupported(const std::string& line, const Record& record) {
  if (record.type == dataRecord) {
    return true;
  }
  if (record.type == upperAddressRecord && record.data.size() >= 2) {
    return true;
  }
  if (record.type == upperAddressRecord || record.type == noRecord) {
    std::cerr << "#ERROR: corrupt line data in line \"" << line << '"'
              << std::endl;
    return false;
  }
  std::cout << line << std::endl;
  std::cerr << "#ERROR: unsupported record type found ("
            << std::to_string(record.type) << ')' << std::endl;
  return false;
}

std::uint16_t upperAddress(const unsigned char* data) {
  return static_cast<std::uint16_t>(data[0] << 8 | data[1]);
}

// Takes one line that is not plainly sound the way of parseHexFile(), which
// `image` parses it with. Returns false at the end record and, with `sound`
// false, at a line that ends the load.
bool readOddLine(IntelHexFile& image, TextReader& reader, BlockBuilder& builder,
                 std::uint16_t& extAddress, bool& sound) {
  if (reader.eof()) {
    reportMissingEnd();
    sound = false;
    return false;
  }
  std::string line;
  reader.getLine(line);
  if (reader.bad()) {
    line.clear();
  }
  if (isEndRecord(line)) {
    return false;
  }
  Record record{};
  image.parseLine(line, record);
  if (!isSupported(line, record)) {
    sound = false;
    return false;
  }
  if (record.type == dataRecord) {
    std::copy(record.data.begin(), record.data.end(), builder.next());
    builder.add(extAddress, record.address, record.data.size());
  } else {
    extAddress = upperAddress(record.data.data());
  }
  return true;
}

// The same as parseHexFile(), without a string and a set node for each record:
// the lines that are plainly sound, in other words nearly all, are decoded
// where they were read. False where the load ends with a message.
bool readRecords(IntelHexFile& image, TextReader& reader,
                 BlockBuilder& builder) {
  std::uint16_t extAddress = 0;
  bool sound = true;
  for (;;) {
    const char* const text = reader.text();
    unsigned char* const data = builder.next();
    RecordHead head{};
    const std::size_t length = decodeRecord(text, head, data);
    const std::size_t lineLength = length == 0 ? 0 : endOfLine(text, length);
    if (lineLength != 0 && head.type == dataRecord && head.count != 0) {
      builder.add(extAddress, head.address, head.count);
      reader.skip(lineLength);
    } else if (lineLength != 0 && head.type == upperAddressRecord &&
               head.count >= 2) {
      extAddress = upperAddress(data);
      reader.skip(lineLength);
    } else if (!readOddLine(image, reader, builder, extAddress, sound)) {
      return sound;
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
  if (size > block->data.max_size()) {
    throw std::length_error("IntelHexFile: size beyond what a block can hold");
  }
  block->extAddress = extAddress;
  block->address = address;
  block->size = size;
  if (size != 0) {
    block->data.assign(data, data + static_cast<std::size_t>(size));
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
  TextReader reader(path);
  if (!reader.isOpen()) {
    std::cerr << "#ERROR: failed to open \"" << path << '"' << std::endl;
    return false;
  }
  BlockBuilder builder(singleBlock);
  if (!readRecords(*this, reader, builder)) {
    return false;
  }
  if (!builder.finish()) {
    reportNoSingleBlock();
    return false;
  }
  blocks.reserve(blocks.size() + builder.blocks().size());
  for (std::unique_ptr<IntelHexFileBlock>& block : builder.blocks()) {
    blocks.push_back(block.release());
  }
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
      reportMissingEnd();
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
    if (!isSupported(line, record)) {
      return false;
    }
    if (record.type == dataRecord) {
      record.extAddress = extAddress;
      lines.insert(lines.end(), record);
    } else {
      extAddress = upperAddress(record.data.data());
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
    reportNoSingleBlock();
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
