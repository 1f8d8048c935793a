// SPDX-License-Identifier: MIT

#include "ihex/outcome.h"

#include <cstddef>
#include <exception>
#include <typeinfo>

#include <gtest/gtest.h>

#include "support/capture.h"

Outcome observe(const std::function<bool()>& action) {
  Outcome outcome;
  const Capture capture;
  try {
    outcome.result = action() ? "true" : "false";
  } catch (const std::exception& exception) {
    outcome.result =
        std::string(typeid(exception).name()) + ": " + exception.what();
  }
  outcome.transcript = capture.transcript();
  outcome.out = capture.out();
  outcome.err = capture.err();
  return outcome;
}

void expectSame(const Outcome& actual, const Outcome& expected) {
  EXPECT_EQ(actual.result, expected.result);
  EXPECT_EQ(actual.transcript, expected.transcript);
  EXPECT_EQ(actual.out, expected.out);
  EXPECT_EQ(actual.err, expected.err);
  ASSERT_EQ(actual.blocks.size(), expected.blocks.size());
  for (std::size_t i = 0; i < expected.blocks.size(); ++i) {
    EXPECT_EQ(actual.blocks[i].extAddress, expected.blocks[i].extAddress);
    EXPECT_EQ(actual.blocks[i].address, expected.blocks[i].address);
    EXPECT_EQ(actual.blocks[i].size, expected.blocks[i].size);
    EXPECT_TRUE(actual.blocks[i].data == expected.blocks[i].data)
        << "bytes of block " << i;
  }
}

std::vector<ReferenceBlock> blocksOf(const IntelHexFile& image) {
  std::vector<ReferenceBlock> blocks;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    const IntelHexFileBlock& block = *image[i];
    blocks.push_back({block.data, block.extAddress, block.address, block.size});
  }
  return blocks;
}
