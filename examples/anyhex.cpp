// SPDX-License-Identifier: MIT

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include <qorutil/exception.h>
#include <qorutil/intelhex.h>
#include <qorutil/strings.h>

namespace {

using record_t = IntelHexFile::hexfileline_t;

// Reads records up to the end record, as toolchains write them. `line` counts.
std::set<record_t> readRecords(std::istream& file, int& line) {
  if (!file) {
    throw QorException(errno, "cannot open");
  }
  IntelHexFile parser;
  std::set<record_t> records;
  std::uint32_t base = 0;
  for (std::string text; std::getline(file, text);) {
    if (++line == 1 && text.rfind("\xEF\xBB\xBF", 0) == 0) {
      text.erase(0, 3);  // a byte-order mark
    }
    if (rightTrim(text, " \t\r").empty()) {
      continue;
    }
    record_t record;
    parser.parseLine(text, record);
    if (record.type == 0) {
      const std::uint32_t address = base + record.address;
      record.extAddress = static_cast<std::uint16_t>(address >> 16);
      record.address = static_cast<std::uint16_t>(address);
      records.insert(record);
    } else if (record.type == 1) {
      return records;
    } else if (record.type == 2 || record.type == 4) {
      base = record.data.at(0) * 256U + record.data.at(1);
      base <<= record.type == 2 ? 4 : 16;
    } else if (record.type != 3 && record.type != 5) {  // start addresses
      throw QorException(0, "not a record");
    }
  }
  throw QorException(0, "no end record");
}

// Makes a block of each run of records without a gap.
void makeBlocks(IntelHexFile& image, const std::set<record_t>& records) {
  for (auto first = records.begin(); first != records.end();) {
    auto last = first;
    for (std::uint64_t end = first->address;
         last != records.end() && last->extAddress == first->extAddress &&
         last->address == end;
         ++last) {
      end += last->count;
    }
    image.createNewBlock(first, last);
    first = last;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const path = argc == 2 ? argv[1] : "/dev/stdin";
  // What the library says goes to these two streams: here it goes into a text.
  std::ostringstream said;
  std::streambuf* const out = std::cout.rdbuf(said.rdbuf());
  std::streambuf* const err = std::cerr.rdbuf(said.rdbuf());
  int line = 0;
  int status = 0;
  try {
    std::ifstream file(path);
    IntelHexFile image;
    makeBlocks(image, readRecords(file, line));
    for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
      std::printf("0x%04x%04x %zu bytes\n", image[i]->extAddress,
                  image[i]->address, image[i]->data.size());
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s:%d: %s\n%s", path, line, error.what(),
                 said.str().c_str());
    status = 1;
  }
  std::cout.rdbuf(out);
  std::cerr.rdbuf(err);
  return status;
}
