// SPDX-License-Identifier: MIT
//
// Holds the layout of the public types against the stored table. After a wanted
// change scripts/check-abi.sh --update writes the tables anew.

#include "abi/layout.h"

#include <gtest/gtest.h>

#include "support/files.h"

namespace {

TEST(Layout, IsTheStoredOne) {
  const std::string table = QORUTIL_TEST_ABI "/" + layoutName();
  EXPECT_EQ(layout(), readFile(table)) << table;
}

}  // namespace
