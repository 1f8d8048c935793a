// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include <qorutil/intelhex.h>

#include "client.h"

namespace {

using Records = std::set<IntelHexFile::hexfileline_t>;

constexpr const char* hexPath = "client.hex";
constexpr const char* binaryPath = "client.bin";

bool loads() {
  std::ofstream(hexPath) << ":0400100041424344E2\n:00000001FF\n";
  IntelHexFile image;
  IntelHexFile fromPath(hexPath, true);
  const bool loaded = image.load(hexPath, false) && image.hasData() &&
                      image.getBlockCount() == 1 && fromPath.hasData() &&
                      image[0]->address == 0x10 && image[0]->size == 4;
  image.reverseBuffers();
  const bool reversed = image[0]->data[0] == 'D';
  image.clear();
  return loaded && reversed && !image.hasData();
}

bool assembles() {
  std::ifstream file(hexPath);
  IntelHexFile image;
  Records records;
  const bool parsed = image.parseHexFile(file, records) && records.size() == 1;
  IntelHexFile::hexfileline_t line;
  std::string text = ":0100000055AA";
  image.parseLine(text, line);
  image.createNewBlock(records.begin(), records.end());
  return parsed && line.type == 0 && line < *records.begin() &&
         image.getBlockCount() == 1;
}

bool copies() {
  const unsigned char bytes[] = {1, 2};
  IntelHexFile image(1, 2, sizeof bytes, bytes);
  IntelHexFile copy(image);
  IntelHexFile assigned;
  assigned = copy;
  const IntelHexFile moved(std::move(copy));
  IntelHexFile moveAssigned;
  moveAssigned = std::move(assigned);
  return moved[0]->data == moveAssigned[0]->data && moved[0] != image[0];
}

bool refusesAnId() {
  try {
    IntelHexFile()[0];
    return false;
  } catch (const char* text) {
    return text ==
           std::string(
               "IntelHexFile::operator[](size_t id): id outside of range!");
  }
}

bool usesBlocks() {
  IntelHexFileBlock block;
  block.data = {'a', 'b'};
  block.size = 2;
  const IntelHexFileBlock copy(block);
  const std::unique_ptr<IntelHexFileBlock> clone(block.clone());
  clone->reverseBuffer();
  const bool written = clone->writeBinaryTo(binaryPath);
  std::string text;
  std::ifstream(binaryPath) >> text;
  block.clear();
  return written && text == "ba" && copy.size == 2 && block.size == 0 &&
         block.writeBinaryTo(0);
}

}  // namespace

bool usesIntelHex() {
  const bool works =
      loads() && assembles() && copies() && refusesAnId() && usesBlocks();
  std::remove(hexPath);
  std::remove(binaryPath);
  return works;
}
