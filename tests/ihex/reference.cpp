// SPDX-License-Identifier: MIT

#include "ihex/reference.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>

namespace {

const std::string functionName =
    "void IntelHexFile::parseLine(std::__cxx11::string&, "
    "IntelHexFile::hexfileline_t&)";

long hexValue(const std::string& text) {
  return std::strtol(text.c_str(), nullptr, 16);
}

}  // namespace

bool ReferenceRecord::operator<(const ReferenceRecord& other) const {
  return extAddress < other.extAddress ||
         (extAddress == other.extAddress && address < other.address);
}

void ReferenceReader::parseLine(std::string& hexline, ReferenceRecord& line) {
  line.type = 0xFF;

  while (!hexline.empty() && hexline.front() == ' ') {
    hexline.erase(0, 1);
  }
  while (!hexline.empty() && hexline.back() == ' ') {
    hexline.pop_back();
  }
  hexline.erase(std::remove(hexline.begin(), hexline.end(), '\r'),
                hexline.end());

  if (hexline.size() < 11 || hexline[0] != ':') {
    out << functionName << ": hexline to short" << std::endl;
    return;
  }

  const long count = hexValue(hexline.substr(1, 2));
  line.count = static_cast<std::uint64_t>(count);
  line.address = static_cast<std::uint16_t>(hexValue(hexline.substr(3, 4)));
  const long type = hexValue(hexline.substr(7, 2));
  if (count == 0 && static_cast<std::uint16_t>(type) == 0 &&
      line.address == 0) {
    return;
  }
  if (count < 0) {
    return;
  }

  line.data.resize(static_cast<std::size_t>(count));
  if (line.data.empty()) {
    err << "#ERROR: line.data.size() is zero" << std::endl;
  }
  for (std::size_t i = 0; i < line.data.size(); ++i) {
    const std::size_t position = 9 + 2 * i;
    line.data[i] =
        static_cast<std::uint8_t>(hexValue(hexline.substr(position, 2)));
    if (position + 2 == hexline.size()) {
      return;
    }
  }

  long sum = 0;
  for (std::size_t position = 1; position < hexline.size(); position += 2) {
    sum += hexValue(hexline.substr(position, 2));
  }
  if (static_cast<std::uint8_t>(sum) != 0) {
    err << "#ERROR: checksum error." << std::endl;
    return;
  }

  const std::uint64_t expected = 11 + 2 * line.count;
  if (hexline.size() != expected) {
    out << functionName << ": second unexpected end of line" << std::endl;
    out << expected << ", " << hexline.size() << std::endl;
    return;
  }
  line.type = static_cast<std::uint8_t>(type);
}

bool ReferenceReader::parseHexFile(std::istream& file, Records& lines) {
  std::string hexline;
  std::uint16_t upperAddress = 0;
  ReferenceRecord record;
  while (true) {
    if (hexline.substr(0, 11) == ":00000001FF") {
      return true;
    }
    if (file.eof()) {
      err << "#ERROR: end of file reached without EoF-record. HEX file might "
             "be corrupt."
          << std::endl;
      return false;
    }
    std::getline(file, hexline);
    if (file.bad()) {
      hexline = "";
    }
    if (hexline.substr(0, 11) == ":00000001FF") {
      return true;
    }
    record.data.clear();
    parseLine(hexline, record);
    const bool noUpperAddress = record.type == 4 && record.data.size() < 2;
    if (record.type == 0xFF || noUpperAddress) {
      err << "#ERROR: corrupt line data in line \"" << hexline << "\""
          << std::endl;
      return false;
    }
    if (record.type == 4) {
      upperAddress =
          static_cast<std::uint16_t>(record.data[0] * 256 + record.data[1]);
    } else if (record.type == 0) {
      record.extAddress = upperAddress;
      lines.insert(record);
    } else {
      out << hexline << std::endl;
      err << "#ERROR: unsupported record type found (" << int{record.type}
          << ")" << std::endl;
      return false;
    }
  }
}

bool ReferenceReader::load(std::istream& file, bool singleBlock,
                           Blocks& blocks) {
  Records lines;
  if (!parseHexFile(file, lines)) {
    return false;
  }
  if (lines.empty()) {
    return true;
  }
  const std::size_t before = blocks.size();
  if (singleBlock) {
    createNewBlock(lines.begin(), lines.end(), blocks);
    return blocks.size() > before;
  }
  Records::const_iterator start = lines.begin();
  while (start != lines.end()) {
    Records::const_iterator current = start;
    while (true) {
      const auto expected =
          static_cast<std::uint16_t>(current->address + current->data.size());
      const Records::const_iterator next = std::next(current);
      if (next == lines.end() || next->extAddress != current->extAddress ||
          next->address != expected) {
        createNewBlock(start, next, blocks);
        start = next;
        break;
      }
      current = next;
    }
  }
  return true;
}

void ReferenceReader::createNewBlock(Records::const_iterator first,
                                     Records::const_iterator last,
                                     Blocks& blocks) {
  const ReferenceRecord& lastRecord = *std::prev(last);
  const long end =
      lastRecord.address + static_cast<long>(lastRecord.data.size());
  for (Records::const_iterator record = first; record != last; ++record) {
    if (record->extAddress != first->extAddress ||
        record->address + static_cast<long>(record->data.size()) > end) {
      err << "#ERROR: records do not fit into a single block" << std::endl;
      return;
    }
  }
  ReferenceBlock block;
  block.extAddress = first->extAddress;
  block.address = first->address;
  block.size = static_cast<std::uint64_t>(end - first->address);
  block.data.assign(static_cast<std::size_t>(block.size), 0xFF);
  for (Records::const_iterator record = first; record != last; ++record) {
    for (std::size_t i = 0; i < record->data.size(); ++i) {
      const auto offset =
          static_cast<std::size_t>(record->address - first->address);
      block.data[offset + i] = record->data[i];
    }
  }
  blocks.push_back(block);
}
