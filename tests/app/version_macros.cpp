// SPDX-License-Identifier: MIT
//
// The header behind the macros major(x) and minor(x) of <sys/sysmacros.h>.

// clang-format off
#include <sys/sysmacros.h>

#include "qorutil/version.h"
// clang-format on

#include <gtest/gtest.h>

#if !defined(major) || !defined(minor)
#error "the macros are not there, so this file tests nothing"
#endif

namespace {

TEST(VersionHeader, CompilesBehindTheMacrosMajorAndMinor) {
  constexpr Version version(1, 2, 3, 4);
  static_assert(version.major == 1 && version.minor == 2);
  static_assert(version > Version{1, 2, 3});
  EXPECT_EQ(Version::getVersion("1.2.3.4"), version);
}

}  // namespace
