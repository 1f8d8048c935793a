// SPDX-License-Identifier: MIT
//
// Any bytes as an Intel HEX file: the library loads it as the plain reference
// of the tests does, in both modes, with the same messages.

#include "qorutil/intelhex.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <typeinfo>

#include <sys/mman.h>
#include <unistd.h>

#include "ihex/reference.h"

namespace {

void require(bool condition, const char* text) {
  if (!condition) {
    std::fprintf(stderr, "differs: %s\n", text);
    std::abort();
  }
}

std::string resultOf(const std::function<bool()>& action) {
  try {
    return action() ? "true" : "false";
  } catch (const std::exception& exception) {
    return std::string(typeid(exception).name()) + ": " + exception.what();
  }
}

class Redirected {
 public:
  Redirected()
      : savedOut(std::cout.rdbuf(out.rdbuf())),
        savedErr(std::cerr.rdbuf(err.rdbuf())) {}

  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;

  ~Redirected() {
    std::cout.rdbuf(savedOut);
    std::cerr.rdbuf(savedErr);
  }

  std::ostringstream out;
  std::ostringstream err;

 private:
  std::streambuf* savedOut;
  std::streambuf* savedErr;
};

void compare(const std::string& path, const std::string& text,
             bool singleBlock) {
  std::istringstream stream(text);
  std::ostringstream expectedOut;
  std::ostringstream expectedErr;
  ReferenceReader reference(expectedOut, expectedErr);
  ReferenceReader::Blocks blocks;
  const std::string expected =
      resultOf([&] { return reference.load(stream, singleBlock, blocks); });

  IntelHexFile image;
  const Redirected streams;
  const std::string actual =
      resultOf([&] { return image.load(path.c_str(), singleBlock); });
  require(actual == expected, "result");
  require(streams.out.str() == expectedOut.str(), "standard output");
  require(streams.err.str() == expectedErr.str(), "standard error");
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
  static const int file = memfd_create("fuzz.hex", MFD_CLOEXEC);
  require(ftruncate(file, 0) == 0 &&
              pwrite(file, data, size, 0) == static_cast<ssize_t>(size),
          "cannot write the file");
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  const std::string text(reinterpret_cast<const char*>(data), size);
  compare(path, text, false);
  compare(path, text, true);
  return 0;
}
