// SPDX-License-Identifier: MIT

#include <cstdio>
#include <exception>
#include <string>

#include <qorutil/intelhex.h>

namespace {

// Writes each block of an Intel HEX file into a file of its own.
bool writeBlocks(const char* hexFile) {
  IntelHexFile image;
  if (!image.load(hexFile, false)) {
    return false;  // the reason is on std::cerr
  }
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock* block = image[i];
    const std::string path = "block" + std::to_string(i) + ".bin";
    if (!block->writeBinaryTo(path.c_str())) {
      return false;
    }
    std::printf("%s: %zu bytes from 0x%04x%04x\n", path.c_str(),
                block->data.size(), block->extAddress, block->address);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: blocks FILE\n");
    return 2;
  }
  try {
    return writeBlocks(argv[1]) ? 0 : 1;
  } catch (const std::exception& error) {  // a line shorter than it says
    std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
    return 1;
  }
}
