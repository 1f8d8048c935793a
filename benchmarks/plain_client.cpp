// SPDX-License-Identifier: MIT

#include <fstream>
#include <iostream>

#include "ihex/reference.h"

// plain_client FILE: loads FILE the plain way, a substring and a strtol for
// each field, a set of records.
int main(int argc, char** argv) {
  if (argc < 2) {
    return 1;
  }
  std::ifstream file(argv[1]);
  ReferenceReader::Blocks blocks;
  return ReferenceReader(std::cout, std::cerr).load(file, false, blocks) ? 0
                                                                         : 1;
}
