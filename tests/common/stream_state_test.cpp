// SPDX-License-Identifier: MIT

#include "common/stream_state.h"

#include <iomanip>
#include <ios>
#include <sstream>
#include <stdexcept>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

using qorutil_internal::StreamState;

constexpr std::ios_base::fmtflags oddFlags =
    std::ios_base::hex | std::ios_base::left | std::ios_base::showbase |
    std::ios_base::uppercase | std::ios_base::unitbuf;

TEST(StreamState, PutsFlagsAndFillBack) {
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  {
    const StreamState restored(os);
    os.flags(std::ios_base::fixed);
    os.fill(' ');
  }
  EXPECT_EQ(os.flags(), oddFlags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(StreamState, PutsThemBackWhenAnExceptionPasses) {
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  try {
    const StreamState restored(os);
    os.flags(std::ios_base::fixed);
    os.fill(' ');
    throw std::runtime_error("insertion");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(os.flags(), oddFlags);
    EXPECT_EQ(os.fill(), '*');
  }
}

TEST(StreamState, TellsWhatTheCallerHadSet) {
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  EXPECT_EQ(restored.flags(), oddFlags);
  EXPECT_EQ(restored.fill(), '*');
}

TEST(StreamState, ChangesNothingByItself) {
  std::ostringstream os;
  os.flags(oddFlags);
  os.fill('*');
  const StreamState restored(os);
  EXPECT_EQ(os.flags(), oddFlags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(StreamState, LeavesWidthPrecisionAndStateAlone) {
  std::ostringstream os;
  {
    const StreamState restored(os);
    os << std::setw(7) << std::setprecision(3);
    os.setstate(std::ios_base::failbit);
  }
  EXPECT_EQ(os.width(), 7);
  EXPECT_EQ(os.precision(), 3);
  EXPECT_EQ(os.rdstate(), std::ios_base::failbit);
}

TEST(StreamState, WritesNothing) {
  std::ostringstream os;
  { const StreamState restored(os); }
  EXPECT_EQ(os.str(), "");
}

TEST(StreamState, GuardsOfOneStreamNest) {
  std::ostringstream os;
  os.flags(oddFlags);
  {
    const StreamState outer(os);
    const StreamState inner(os);
    os.flags(std::ios_base::fixed);
  }
  EXPECT_EQ(os.flags(), oddFlags);
}

TEST(StreamState, IsNotCopied) {
  static_assert(!std::is_copy_constructible_v<StreamState>);
  static_assert(!std::is_copy_assignable_v<StreamState>);
}

}  // namespace
