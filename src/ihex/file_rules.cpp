// SPDX-License-Identifier: MIT

#include "ihex/file_rules.h"

#include <iostream>

#include "ihex/record_types.h"

namespace qorutil_internal {

void reportNotOpened(const char* path) {
  std::cerr << "#ERROR: failed to open \"" << path << '"' << std::endl;
}

bool isEndRecord(const std::string& line) {
  constexpr char endRecord[] = ":00000001FF";
  return line.compare(0, sizeof endRecord - 1, endRecord) == 0;
}

bool isSupported(const std::string& line,
                 const IntelHexFile::hexfileline_t& record) {
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
  // As a text: decimal, whatever the stream's flags are.
  std::cerr << "#ERROR: unsupported record type found ("
            << std::to_string(record.type) << ')' << std::endl;
  return false;
}

void reportMissingEnd() {
  std::cerr << "#ERROR: end of file reached without EoF-record. HEX file "
               "might be corrupt."
            << std::endl;
}

void reportNoSingleBlock() {
  std::cerr << "#ERROR: records do not fit into a single block" << std::endl;
}

}  // namespace qorutil_internal
