// SPDX-License-Identifier: MIT

#include "image/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <utility>

#include <fcntl.h>

#include "image/block_maker.h"
#include "image/kept_pieces.h"
#include "reading/descriptor.h"
#include "reading/failure.h"

namespace {

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

// Makes blocks of pieces as they come, as long as they ascend, and else keeps
// them.
class ImageBuilder {
 public:
  explicit ImageBuilder(image_t& target)
      : image(target), blocks(target.blocks) {}

  // Where the bytes of the next piece are to be put.
  unsigned char* room() { return kept ? kept->room() : blocks.room(); }

  void add(const piece_t& piece) {
    if (kept) {
      kept->add(piece);
    } else if (piece.address >= blocks.end()) {
      places.add(piece.address, piece);
      blocks.add(piece.address, piece.size);
    } else {
      keepAll(piece);
    }
  }

  void finish(bool force, const std::string& name, const problemSink_t& sink) {
    if (kept) {
      kept->sort();
      image.merged = mergePieces(*kept, blocks, force, name, sink);
      image.sources = kept->release();
    } else {
      image.sources = Sources(std::move(places), {});
    }
    blocks.finish();
  }

 private:
  // Takes the blocks apart again, and keeps `piece` behind their pieces.
  void keepAll(const piece_t& piece) {
    unsigned char bytes[maxRecordData];
    std::copy_n(blocks.room(), piece.size, bytes);
    blocks.finish();
    kept.emplace();
    BlockDrain drain(image.blocks);
    for (const Places::run_t& run : places.all()) {
      piece_t known{run.key, run.size, run.line, run.column};
      for (std::uint32_t i = 0; i < run.count; ++i) {
        drain.take(kept->room(), known.size);
        kept->add(known);
        known.address += run.keyStep;
        known.line += run.lineStep;
      }
    }
    places = {};
    image.blocks.clear();
    blocks.restart();
    std::copy_n(bytes, piece.size, kept->room());
    kept->add(piece);
  }

  image_t& image;
  BlockMaker blocks;
  Places places;
  std::optional<KeptPieces> kept;
};

std::uint64_t addressOf(const IntelHexFileBlock& block) {
  return block.extAddress * std::uint64_t{0x10000} + block.address;
}

std::uint64_t endOf(const IntelHexFileBlock& block) {
  return addressOf(block) + block.data.size();
}

// Lays the bytes of the block `at` over those of the blocks before it, which do
// not overlap, and leaves it what lies behind them.
void layOverEarlier(const IntelHexFile& image, std::size_t at) {
  IntelHexFileBlock& block = *image[at];
  const std::uint64_t address = addressOf(block);
  std::uint64_t covered = address;
  for (std::size_t i = at; i-- != 0;) {
    IntelHexFileBlock& earlier = *image[i];
    if (earlier.data.empty()) {
      continue;
    }
    if (endOf(earlier) <= address) {
      break;
    }
    const std::uint64_t from = std::max(addressOf(earlier), address);
    const std::uint64_t to = std::min(endOf(earlier), endOf(block));
    if (from < to) {
      std::copy_n(block.data.data() + (from - address), to - from,
                  earlier.data.data() + (from - addressOf(earlier)));
    }
    covered = std::max(covered, to);
  }
  const std::uint64_t dropped = covered - address;
  block.data.erase(block.data.begin(),
                   block.data.begin() + static_cast<std::ptrdiff_t>(dropped));
  block.size = block.data.size();
  block.extAddress = static_cast<std::uint16_t>(covered >> 16U);
  block.address = static_cast<std::uint16_t>(covered);
}

// Throws the failure of the library to load `path`. Without waiting for a FIFO.
[[noreturn]] void throwLoadFailure(const std::string& path,
                                   const std::string& detail) {
  const Descriptor file(
      ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  throw Failure(file.isOpen() ? REFUSED : SYSTEM_FAILED, path,
                "the library cannot load this file" + detail);
}

}  // namespace

image_t readImage(TextInput& text, bool force, const problemSink_t& sink) {
  image_t image;
  ImageBuilder builder(image);
  RecordReader reader(text, sink);
  for (piece_t piece{}; reader.next(builder.room(), piece);) {
    builder.add(piece);
  }
  builder.finish(force, text.name(), sink);
  image.startAddresses = reader.startAddresses();
  return image;
}

image_t loadImage(const std::string& path) {
  image_t image;
  bool loaded = false;
  std::string detail;
  try {
    loaded = image.blocks.load(path.c_str(), false);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& exception) {
    detail = std::string(": ") + exception.what();
  }
  if (!loaded) {
    throwLoadFailure(path, detail);
  }
  for (std::size_t i = 1; i < image.blocks.getBlockCount(); ++i) {
    layOverEarlier(image.blocks, i);
  }
  return image;
}
