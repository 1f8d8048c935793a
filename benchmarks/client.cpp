// SPDX-License-Identifier: MIT

#include <string>

#include <qorutil/intelhex.h>

// client FILE [FOLDER]: loads FILE and writes each block into a file in FOLDER.
int main(int argc, char** argv) {
  IntelHexFile image;
  bool good = argc > 1 && image.load(argv[1], false);
  for (std::size_t i = 0; good && argc > 2 && i < image.getBlockCount(); ++i) {
    const std::string path = std::string(argv[2]) + '/' + std::to_string(i);
    good = image[i]->writeBinaryTo(path.c_str());
  }
  return good ? 0 : 1;
}
