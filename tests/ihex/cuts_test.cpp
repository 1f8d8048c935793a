// SPDX-License-Identifier: MIT
//
// Real files, cut after every line and at each of their last bytes: the library
// loads what is left as the plain reference does.

#include "support/cuts.h"

#include "qorutil/intelhex.h"

#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "ihex/outcome.h"
#include "ihex/reference.h"
#include "support/memory_file.h"

namespace {

void compareLoads(std::string_view text, bool singleBlock) {
  std::istringstream stream{std::string(text)};
  ReferenceReader reference(std::cout, std::cerr);
  ReferenceReader::Blocks blocks;
  Outcome expected =
      observe([&] { return reference.load(stream, singleBlock, blocks); });
  expected.blocks = blocks;

  const MemoryFile file(text);
  IntelHexFile image;
  Outcome actual =
      observe([&] { return image.load(file.path().c_str(), singleBlock); });
  actual.blocks = blocksOf(image);
  expectSame(actual, expected);
}

TEST(CutFiles, LoadAsByTheReference) {
  std::size_t cuts = 0;
  for (const cutFile_t& file : filesToCut(QORUTIL_TEST_DATA "/hex")) {
    for (const std::size_t size : file.sizes) {
      SCOPED_TRACE(file.name + " of " + std::to_string(size) + " bytes");
      compareLoads(std::string_view(file.text).substr(0, size), false);
      compareLoads(std::string_view(file.text).substr(0, size), true);
      ++cuts;
      ASSERT_FALSE(HasFailure());
    }
  }
  std::cout << cuts << " cuts\n";
  EXPECT_GT(cuts, 2000U);
}

}  // namespace
