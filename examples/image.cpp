// SPDX-License-Identifier: MIT

#include <exception>
#include <iostream>

#include <qorutil/intelhex.h>

namespace {

void printBlocks(const char* title, const IntelHexFile& image) {
  std::cout << title << ":\n";
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock* block = image[i];
    std::cout << "  " << block->extAddress << ':' << block->address << ", "
              << block->size << " bytes, the first is "
              << int{block->data.front()} << '\n';
  }
}

bool showImage(const char* path) {
  IntelHexFile image;
  if (!image.load(path, false)) {
    return false;
  }
  printBlocks("loaded", image);

  const IntelHexFile copy = image;
  image.reverseBuffers();
  printBlocks("reversed", image);
  printBlocks("the copy", copy);

  const unsigned char bytes[] = {1, 2, 3};
  printBlocks("from memory", IntelHexFile(0x0800, 0x4000, 3, bytes));

  image.clear();
  std::cout << "cleared: " << image.hasData() << '\n';
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return argc == 2 && showImage(argv[1]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
