// SPDX-License-Identifier: MIT
//
// The plain way against exact results; random_test.cpp holds the fast one
// against it.

#include "ihex/plain_load.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ihex/expected.h"
#include "support/capture.h"
#include "support/files.h"

namespace {

using qorutil_internal::loadPlainly;

class PlainLoading : public testing::Test {
 protected:
  void expectLoaded(const std::string& text, bool singleBlock,
                    const std::vector<ExpectedBlock>& expected) {
    const std::string path = writeFile(folder.path("test.hex"), text);
    IntelHexFile image;
    const Capture capture;
    EXPECT_TRUE(loadPlainly(image, path.c_str(), singleBlock));
    EXPECT_EQ(capture.transcript(), "");
    expectBlocks(image, expected);
  }

  void expectRefused(const std::string& path, bool singleBlock,
                     const std::string& messages) {
    const unsigned char byte = 7;
    IntelHexFile image(1, 2, 1, &byte);
    const Capture capture;
    EXPECT_FALSE(loadPlainly(image, path.c_str(), singleBlock));
    EXPECT_EQ(capture.transcript(), messages);
    expectBlocks(image, {{1, 2, {7}}});
  }

  TemporaryFolder folder;
};

TEST_F(PlainLoading, CutsARunAtAGapAnOverlapAndAnotherUpperAddress) {
  expectLoaded(
      dataLine(0x10, {4, 5}) + dataLine(0, {1}) + dataLine(1, {2, 3}) +
          dataLine(0x11, {6}) + upperLine(1) + dataLine(0x12, {7}) + end,
      false,
      {{0, 0, {1, 2, 3}}, {0, 0x10, {4, 5}}, {0, 0x11, {6}}, {1, 0x12, {7}}});
}

TEST_F(PlainLoading, DoesNotGoOnAcross64KiB) {
  expectLoaded(dataLine(0xFFFE, {1, 2}) + upperLine(1) + dataLine(0, {3}) + end,
               false, {{0, 0xFFFE, {1, 2}}, {1, 0, {3}}});
}

TEST_F(PlainLoading, FillsASingleBlock) {
  expectLoaded(dataLine(3, {4}) + dataLine(0, {1, 2}) + end, true,
               {{0, 0, {1, 2, 0xFF, 4}}});
}

TEST_F(PlainLoading, OfNoDataMakesNoBlock) {
  expectLoaded(end, false, {});
  expectLoaded(end, true, {});
}

TEST_F(PlainLoading, RefusesWhatDoesNotFitIntoASingleBlock) {
  const std::string path =
      writeFile(folder.path("test.hex"),
                dataLine(0, {1}) + upperLine(1) + dataLine(0, {2}) + end);
  expectRefused(path, true, noFit);
}

TEST_F(PlainLoading, RefusesABadLine) {
  const std::string path =
      writeFile(folder.path("test.hex"), dataLine(0, {1}) + "bad\n" + end);
  expectRefused(path, false, tooShort + corrupt("bad"));
}

TEST_F(PlainLoading, NamesAMissingFile) {
  expectRefused("/missing/file", false,
                "<err>#ERROR: failed to open \"/missing/file\"\n<flush>");
}

}  // namespace
