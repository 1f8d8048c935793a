// SPDX-License-Identifier: MIT

#include "image/image_builder.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

// A record of 16 bytes and its line end; most texts consist of such.
constexpr std::uint64_t usualLine = 44;

// A text can be longer than what it holds: no more pieces than these are
// expected of it.
constexpr std::uint64_t mostExpected = std::uint64_t{1} << 21U;

// Takes the bytes of an image out of its blocks, from the first to the last.
class BlockDrain {
 public:
  explicit BlockDrain(IntelHexFile& image) : blocks(image) {}

  // Takes `size` bytes to `bytes`; a block that is empty then is released.
  void take(unsigned char* bytes, std::size_t size) {
    while (size != 0) {
      std::vector<unsigned char>& data = blocks[block]->data;
      const std::size_t taken = std::min(size, data.size() - used);
      std::copy_n(data.data() + used, taken, bytes);
      bytes += taken;
      size -= taken;
      used += taken;
      if (used == data.size()) {
        data = {};
        used = 0;
        ++block;
      }
    }
  }

 private:
  IntelHexFile& blocks;
  std::size_t block{0};
  std::size_t used{0};
};

}  // namespace

void ImageBuilder::expect(std::uint64_t size) {
  expected = std::min(size / usualLine, mostExpected);
}

void ImageBuilder::beginFile() {
  if (kept) {
    kept->beginFile();
  } else {
    places.beginFile();
  }
}

void ImageBuilder::finish(std::optional<severity_t> severity,
                          const std::vector<std::string>& names,
                          const byteProblems_t& sink) {
  if (kept) {
    kept->sort();
    image.merged = mergePieces(*kept, blocks, severity, names, sink);
    image.sources = kept->release();
  } else {
    image.sources = Sources(std::move(places), {});
  }
  blocks.finish();
}

// Takes the blocks apart again, and keeps `piece` behind their pieces.
void ImageBuilder::keepAll(const piece_t& piece) {
  unsigned char bytes[maxRecordData];
  std::copy_n(blocks.room(), piece.size, bytes);
  blocks.finish();
  kept.emplace();
  kept->expect(static_cast<std::size_t>(expected));
  const auto beginFiles = [this](std::size_t count) {
    while (kept->places().fileCount() < count) {
      kept->beginFile();
    }
  };
  BlockDrain drain(image.blocks);
  for (const Places::run_t& run : places.all()) {
    beginFiles(places.fileOf(run.key) + 1);
    piece_t known{run.key, run.size, run.line, run.column};
    for (std::uint32_t i = 0; i < run.count; ++i) {
      drain.take(kept->room(), known.size);
      kept->add(known);
      known.address += run.keyStep;
      known.line += run.lineStep;
    }
  }
  beginFiles(places.fileCount());
  places = {};
  image.blocks.clear();
  blocks.restart();
  std::copy_n(bytes, piece.size, kept->room());
  kept->add(piece);
}
