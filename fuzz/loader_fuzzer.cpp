// SPDX-License-Identifier: MIT
//
// Any bytes as an Intel HEX file: the library loads it as the plain reference
// of the tests does, in both modes, with the same messages and the same
// exception. A first byte below 16 says how the file arrives.

#include "qorutil/intelhex.h"

#include <sstream>
#include <stdexcept>

#include "ihex/reference.h"
#include "support/memory_file.h"
#include "target.h"

namespace {

arrival_t takeArrival(std::string_view& text) {
  constexpr std::size_t pieces[] = {0, 1, 2, 3, 7, 13, 44, 600};
  if (text.empty() || static_cast<unsigned char>(text[0]) >= 16) {
    return {};
  }
  const auto how = static_cast<unsigned>(text[0]);
  text.remove_prefix(1);
  arrival_t arrival;
  arrival.piece = pieces[how % 8];
  arrival.interrupted = how >= 8;
  return arrival;
}

void compare(const MemoryFile& file, bool singleBlock) {
  static Redirected streams;
  static PlainStreams plain;
  streams.clear();
  plain.clear();

  std::istringstream stream{std::string(file.text())};
  ReferenceReader::Blocks blocks;
  const std::string expected = textOf<std::out_of_range>([&] {
    return ReferenceReader(plain.out, plain.err)
                   .load(stream, singleBlock, blocks)
               ? "true"
               : "false";
  });
  IntelHexFile image;
  const std::string actual = textOf<std::out_of_range>([&] {
    return image.load(file.path().c_str(), singleBlock) ? "true" : "false";
  });

  require(actual == expected, "result");
  streams.requireSame(plain);
  require(image.getBlockCount() == blocks.size(), "number of blocks");
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    require(block.extAddress == blocks[i].extAddress &&
                block.address == blocks[i].address &&
                block.size == blocks[i].size && block.data == blocks[i].data,
            "block");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  const arrival_t arrival = takeArrival(text);
  const MemoryFile file(text, arrival);
  compare(file, false);
  compare(file, true);
  return 0;
}
