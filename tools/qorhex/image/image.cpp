// SPDX-License-Identifier: MIT

#include "image/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>

#include <fcntl.h>

#include "reading/descriptor.h"
#include "reading/failure.h"

namespace {

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

// The library takes a record that goes on where no address is; its bytes would
// come to lie at the beginning.
void checkAddresses(const IntelHexFile& image, const std::string& path) {
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    if (endOf(*image[i]) > std::uint64_t{1} << 32U) {
      throw Failure(REFUSED, path,
                    "the data passes the address 0xffffffff; without --strict "
                    "the line is told");
    }
  }
}

}  // namespace

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
  checkAddresses(image.blocks, path);
  for (std::size_t i = 1; i < image.blocks.getBlockCount(); ++i) {
    layOverEarlier(image.blocks, i);
  }
  return image;
}
