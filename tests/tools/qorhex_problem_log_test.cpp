// SPDX-License-Identifier: MIT
//
// Which problems of several FILEs are told.

#include <cerrno>

#include <gtest/gtest.h>

#include "reading/failure.h"
#include "telling/problem_log.h"

namespace {

TEST(ProblemLog, OfAFileThatCouldNotBeReadNothingMoreIsTold) {
  ProblemLog log({}, {"a.hex", "b.hex"});
  log.leaveOut(0, Failure(EIO, "a.hex"));
  EXPECT_FALSE(log.wants(0));
  EXPECT_TRUE(log.wants(1));
  EXPECT_FALSE(log.isAllOver());
  EXPECT_EQ(log.status(), SYSTEM_FAILED);
}

}  // namespace
