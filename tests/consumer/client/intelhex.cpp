// SPDX-License-Identifier: MIT

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <qorutil/intelhex.h>

#include "client.h"

namespace {

using Records = std::set<IntelHexFile::hexfileline_t>;

constexpr const char* hexPath = "client.hex";
constexpr const char* binaryPath = "client.bin";

using Block = IntelHexFileBlock;
using Image = IntelHexFile;
using Record = IntelHexFile::hexfileline_t;
using Iterator = Records::const_iterator;

static_assert(has<std::vector<unsigned char> Block::*>(&Block::data) &&
              has<std::uint16_t Block::*>(&Block::extAddress) &&
              has<std::uint16_t Block::*>(&Block::address) &&
              has<std::uint64_t Block::*>(&Block::size));
static_assert(std::is_constructible_v<Block, Block&> &&
              !std::is_constructible_v<Block, const Block&> &&
              !std::is_polymorphic_v<Block>);
static_assert(has<Block* (Block::*)()>(&Block::clone) &&
              has<void (Block::*)()>(&Block::clear) &&
              has<void (Block::*)()>(&Block::reverseBuffer) &&
              has<bool (Block::*)(int) const>(&Block::writeBinaryTo) &&
              has<bool (Block::*)(const char*) const>(&Block::writeBinaryTo));

static_assert(has<std::uint8_t Record::*>(&Record::type) &&
              has<std::uint16_t Record::*>(&Record::extAddress) &&
              has<std::uint16_t Record::*>(&Record::address) &&
              has<std::uint64_t Record::*>(&Record::count) &&
              has<std::vector<unsigned char> Record::*>(&Record::data));
static_assert(std::is_constructible_v<Image, const Image&> &&
              std::is_constructible_v<Image, unsigned short, unsigned short,
                                      std::uint64_t, const unsigned char*> &&
              std::is_constructible_v<Image, const char*, bool> &&
              !std::is_polymorphic_v<Image>);
static_assert(has<bool (Image::*)(const char*, bool)>(&Image::load) &&
              has<Block* (Image::*)(std::size_t) const>(&Image::operator[]) &&
              has<void (Image::*)() const>(&Image::reverseBuffers) &&
              has<void (Image::*)()>(&Image::clear) &&
              has<bool (Image::*)() const>(&Image::hasData) &&
              has<std::size_t (Image::*)() const>(&Image::getBlockCount));
static_assert(
    has<void (Image::*)(std::string&, Record&)>(&Image::parseLine) &&
    has<bool (Image::*)(std::ifstream&, Records&)>(&Image::parseHexFile) &&
    has<void (Image::*)(const Iterator&, const Iterator&)>(
        &Image::createNewBlock));

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
