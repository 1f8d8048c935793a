// SPDX-License-Identifier: MIT

#include "qorutil/time.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <iostream>
#include <limits>
#include <streambuf>
#include <string>
#include <vector>

#include <sys/time.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/capture.h"

namespace {

struct SleepCall {
  std::int64_t seconds;
  std::int64_t nanoseconds;
  bool hasRemainder;
};

bool operator==(const SleepCall& a, const SleepCall& b) {
  return a.seconds == b.seconds && a.nanoseconds == b.nanoseconds &&
         a.hasRemainder == b.hasRemainder;
}

std::ostream& operator<<(std::ostream& os, const SleepCall& call) {
  return os << '{' << call.seconds << ", " << call.nanoseconds << ", "
            << call.hasRemainder << '}';
}

struct SleepResult {
  int result;
  int error;
  timespec remaining;
};

// What the replaced calls below do; every test begins with a fresh one.
struct Platform {
  bool realSleep{false};
  std::vector<SleepCall> sleeps;
  std::vector<SleepResult> sleepResults;  // 0 when there are no more
  timeval wall{};
  int wallResult{0};
  void* wallZone{nullptr};
  timespec monotonic{};
  int monotonicError{0};
  std::vector<clockid_t> clocksRead;
  bool faked{false};
};

Platform platform;

}  // namespace

extern "C" int nanosleep(const timespec* request, timespec* remaining) {
  if (platform.realSleep) {
    const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, request, remaining);
    errno = error;
    return error == 0 ? 0 : -1;
  }
  const std::size_t index = platform.sleeps.size();
  platform.sleeps.push_back(
      {request->tv_sec, request->tv_nsec, remaining != nullptr});
  if (index >= platform.sleepResults.size()) {
    return 0;
  }
  const SleepResult& scripted = platform.sleepResults[index];
  if (remaining != nullptr) {
    *remaining = scripted.remaining;
  }
  errno = scripted.error;
  return scripted.result;
}

extern "C" int gettimeofday(timeval* time, void* zone) noexcept {
  platform.wallZone = zone;
  if (platform.wallResult == 0) {
    *time = platform.wall;
  }
  return platform.wallResult;
}

// The test framework reads clocks as well; it gets the real wall clock.
extern "C" int clock_gettime(clockid_t id, timespec* time) noexcept {
  if (!platform.faked) {
    return std::timespec_get(time, TIME_UTC) == TIME_UTC ? 0 : -1;
  }
  platform.clocksRead.push_back(id);
  if (platform.monotonicError != 0) {
    errno = platform.monotonicError;
    return -1;
  }
  *time = platform.monotonic;
  return 0;
}

namespace {

class ClockTest : public testing::Test {
 protected:
  void SetUp() override {
    platform = Platform();
    platform.faked = true;
  }

  void TearDown() override { platform = Platform(); }
};

using Sleep = ClockTest;
using WallClock = ClockTest;
using MonotonicClock = ClockTest;
using MonotonicError = ClockTest;
using Calls = std::vector<SleepCall>;

// Signals that are handled arrive every five milliseconds, for as long as it
// lives.
class Alarms {
 public:
  Alarms() {
    struct sigaction action {};

    action.sa_handler = [](int) { ++count; };
    count = 0;
    sigaction(SIGALRM, &action, &savedAction);
    setTimer(5000);
  }

  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

  ~Alarms() {
    setTimer(0);
    sigaction(SIGALRM, &savedAction, nullptr);
  }

  static int arrived() { return count; }

 private:
  static void setTimer(suseconds_t microseconds) {
    const itimerval timer{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }

  static volatile std::sig_atomic_t count;

  struct sigaction savedAction {};
};

volatile std::sig_atomic_t Alarms::count = 0;

std::int64_t realMilliseconds() {
  timespec now{};
  std::timespec_get(&now, TIME_UTC);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

TEST_F(Sleep, MicrosleepOfZeroReturnsWithoutASystemCall) {
  EXPECT_EQ(microsleep(0, false), 0);
  EXPECT_EQ(microsleep(0, true), 0);
  EXPECT_EQ(platform.sleeps, Calls{});
}

TEST_F(Sleep, MillisleepOfZeroReturnsWithoutASystemCall) {
  EXPECT_EQ(millisleep(0), 0);
  EXPECT_EQ(platform.sleeps, Calls{});
}

TEST_F(Sleep, MicrosleepSplitsIntoSecondsAndNanoseconds) {
  EXPECT_EQ(microsleep(1500000, false), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{1, 500000000, false}}));
}

TEST_F(Sleep, MicrosleepResumingAsksForTheRemainder) {
  EXPECT_EQ(microsleep(1500000, true), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{1, 500000000, true}}));
}

TEST_F(Sleep, MicrosleepAroundTheFullSecond) {
  microsleep(1, false);
  microsleep(999999, false);
  microsleep(1000000, false);
  EXPECT_EQ(platform.sleeps,
            (Calls{{0, 1000, false}, {0, 999999000, false}, {1, 0, false}}));
}

TEST_F(Sleep, LongestMicrosleepIsCutToTheRangeOfTheSeconds) {
  microsleep(std::numeric_limits<std::uint64_t>::max(), false);
  const std::int64_t seconds = sizeof(std::time_t) == 8
                                   ? 18446744073709
                                   : std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(platform.sleeps, (Calls{{seconds, 551615000, false}}));
}

TEST_F(Sleep, MicrosleepWithoutResumingEndsAtASignal) {
  platform.sleepResults = {{-1, EINTR, {1, 1}}};
  EXPECT_EQ(microsleep(3000000, false), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(platform.sleeps, (Calls{{3, 0, false}}));
}

TEST_F(Sleep, MicrosleepResumingGoesOnWithTheRemainder) {
  platform.sleepResults = {{-1, EINTR, {2, 7}}, {-1, EINTR, {0, 5}}};
  EXPECT_EQ(microsleep(3000000, true), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{3, 0, true}, {2, 7, true}, {0, 5, true}}));
}

TEST_F(Sleep, MicrosleepResumingEndsAtAnotherFailure) {
  platform.sleepResults = {{-1, EINTR, {2, 7}}, {-1, EINVAL, {1, 1}}};
  EXPECT_EQ(microsleep(3000000, true), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(platform.sleeps, (Calls{{3, 0, true}, {2, 7, true}}));
}

TEST_F(Sleep, MicrosleepReportsAFailureWithoutResuming) {
  platform.sleepResults = {{-1, EFAULT, {}}};
  EXPECT_EQ(microsleep(1, false), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(platform.sleeps.size(), 1U);
}

TEST_F(Sleep, MicrosleepIgnoresAnOldErrorNumber) {
  errno = EINTR;
  EXPECT_EQ(microsleep(1, true), 0);
  EXPECT_EQ(platform.sleeps.size(), 1U);
}

TEST_F(Sleep, ClocksAndSleepsAllocateNothing) {
  platform.sleeps.reserve(10);
  platform.clocksRead.reserve(10);
  const FailingAllocation noMemory(0);
  microsleep(1, true);
  microsleep(1, false);
  millisleep(1);
  getMilliSecondsOfDay();
  getMicroSecondsOfDay();
  getMonotonicSeconds();
  getMonotonicMilliSeconds();
  getMonotonicMicroSeconds();
  sqrtiter(12345, 0);
  EXPECT_FALSE(noMemory.happened());
}

TEST_F(Sleep, SleepsPrintNothing) {
  platform.sleepResults = {{-1, EINVAL, {}}, {-1, EINVAL, {}}};
  const Capture capture;
  microsleep(1, true);
  millisleep(1);
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(Sleep, MillisleepCountsMilliseconds) {
  EXPECT_EQ(millisleep(2750), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{2, 750000000, false}}));
}

TEST_F(Sleep, LongestMillisleepDoesNotOverflow) {
  EXPECT_EQ(millisleep(std::numeric_limits<std::int32_t>::max()), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{2147483, 647000000, false}}));
}

TEST_F(Sleep, MillisleepEndsAtASignal) {
  platform.sleepResults = {{-1, EINTR, {1, 1}}};
  EXPECT_EQ(millisleep(3000), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(platform.sleeps, (Calls{{3, 0, false}}));
}

TEST_F(Sleep, NegativeMillisleepIsHuge) {
  const std::int64_t seconds = sizeof(std::time_t) == 8
                                   ? 18446744073709
                                   : std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(millisleep(-1), 0);
  EXPECT_EQ(platform.sleeps, (Calls{{seconds, 550616000, false}}));
}

TEST_F(Sleep, RealSignalsDoNotEndAResumingMicrosleep) {
  platform.realSleep = true;
  const std::int64_t before = realMilliseconds();
  const Alarms alarms;
  EXPECT_EQ(microsleep(30000, true), 0);
  EXPECT_GE(Alarms::arrived(), 1);
  EXPECT_GE(realMilliseconds() - before, 29);
}

TEST_F(Sleep, RealSignalEndsAMicrosleepWithoutResuming) {
  platform.realSleep = true;
  const Alarms alarms;
  EXPECT_EQ(microsleep(60000000, false), -1);
  EXPECT_EQ(errno, EINTR);
}

TEST_F(Sleep, RealSignalEndsAMillisleep) {
  platform.realSleep = true;
  const Alarms alarms;
  EXPECT_EQ(millisleep(60000), -1);
  EXPECT_EQ(errno, EINTR);
}

TEST_F(Sleep, RealSignalEndsANegativeMillisleep) {
  platform.realSleep = true;
  const Alarms alarms;
  EXPECT_EQ(millisleep(-1), -1);
  EXPECT_EQ(errno, EINTR);
}

TEST_F(WallClock, MillisecondsAreTruncated) {
  platform.wall = {1700000000, 123999};
  EXPECT_EQ(getMilliSecondsOfDay(), 1700000000123U);
}

TEST_F(WallClock, MicrosecondsAreComplete) {
  platform.wall = {1700000000, 123999};
  EXPECT_EQ(getMicroSecondsOfDay(), 1700000000123999U);
}

TEST_F(WallClock, CountsBeginAtTheEpochAndNotAtMidnight) {
  platform.wall = {86400, 1000};
  EXPECT_EQ(getMilliSecondsOfDay(), 86400001U);
  EXPECT_EQ(getMicroSecondsOfDay(), 86400001000U);
}

TEST_F(WallClock, LastSecondOf32BitsDoesNotOverflow) {
  platform.wall = {std::numeric_limits<std::int32_t>::max(), 999999};
  EXPECT_EQ(getMilliSecondsOfDay(), 2147483647999U);
  EXPECT_EQ(getMicroSecondsOfDay(), 2147483647999999U);
}

TEST_F(WallClock, TimesBeforeTheEpochWrapAround) {
  platform.wall = {-1, 250000};
  EXPECT_EQ(static_cast<std::int64_t>(getMilliSecondsOfDay()), -750);
  EXPECT_EQ(static_cast<std::int64_t>(getMicroSecondsOfDay()), -750000);
}

TEST_F(WallClock, AsksForNoTimeZone) {
  int zone = 0;
  platform.wallZone = &zone;
  getMilliSecondsOfDay();
  EXPECT_EQ(platform.wallZone, nullptr);
  platform.wallZone = &zone;
  getMicroSecondsOfDay();
  EXPECT_EQ(platform.wallZone, nullptr);
}

TEST_F(WallClock, FailureIsNeitherThrownNorPrinted) {
  platform.wallResult = -1;
  const Capture capture;
  EXPECT_EQ(getMilliSecondsOfDay(), 0U);
  EXPECT_EQ(getMicroSecondsOfDay(), 0U);
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(MonotonicClock, UnitsAreTruncated) {
  platform.monotonic = {5, 999999999};
  EXPECT_EQ(getMonotonicSeconds(), 5);
  EXPECT_EQ(getMonotonicMilliSeconds(), 5999U);
  EXPECT_EQ(getMonotonicMicroSeconds(), 5999999U);
}

TEST_F(MonotonicClock, ZeroIsZero) {
  EXPECT_EQ(getMonotonicSeconds(), 0);
  EXPECT_EQ(getMonotonicMilliSeconds(), 0U);
  EXPECT_EQ(getMonotonicMicroSeconds(), 0U);
}

TEST_F(MonotonicClock, LastSecondOf32BitsDoesNotOverflow) {
  platform.monotonic = {std::numeric_limits<std::int32_t>::max(), 1999999};
  EXPECT_EQ(getMonotonicSeconds(), 2147483647);
  EXPECT_EQ(getMonotonicMilliSeconds(), 2147483647001U);
  EXPECT_EQ(getMonotonicMicroSeconds(), 2147483647001999U);
}

TEST_F(MonotonicClock, NegativeFractionsAreTruncatedTowardZero) {
  platform.monotonic = {1, -1500};
  EXPECT_EQ(getMonotonicMilliSeconds(), 1000U);
  EXPECT_EQ(getMonotonicMicroSeconds(), 999999U);
}

TEST_F(MonotonicClock, ReadsTheMonotonicClockOnce) {
  getMonotonicSeconds();
  getMonotonicMilliSeconds();
  getMonotonicMicroSeconds();
  EXPECT_EQ(platform.clocksRead, std::vector<clockid_t>(3, CLOCK_MONOTONIC));
}

// The value thrown as an int; -1 when the reader returns.
template <class Reader>
int thrownBy(Reader reader) {
  try {
    reader();
  } catch (int error) {
    return error;
  }
  return -1;
}

TEST_F(MonotonicClock, FailureThrowsTheErrorNumberAndPrintsNothing) {
  platform.monotonicError = EPERM;
  const Capture capture;
  EXPECT_EQ(thrownBy(getMonotonicSeconds), EPERM);
  EXPECT_EQ(thrownBy(getMonotonicMilliSeconds), EPERM);
  EXPECT_EQ(thrownBy(getMonotonicMicroSeconds), EPERM);
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(MonotonicError, WritesOneLineForTheErrorNumber) {
  const Capture capture;
  errno = EINVAL;
  getMonotonicError();
  EXPECT_EQ(capture.transcript(),
            "<err>[ERROR] getMonotonic: Invalid argument\n<flush>");
}

TEST_F(MonotonicError, WritesALineWithoutAnErrorToo) {
  const Capture capture;
  errno = 0;
  getMonotonicError();
  EXPECT_EQ(capture.transcript(),
            "<err>[ERROR] getMonotonic: Success\n<flush>");
}

// Overwrites errno as soon as the first text arrives.
class ErrnoSpoiler : public std::streambuf {
 public:
  std::string text;

 protected:
  std::streamsize xsputn(const char* from, std::streamsize count) override {
    text.append(from, static_cast<std::size_t>(count));
    errno = EPERM;
    return count;
  }

  int_type overflow(int_type character) override {
    text += traits_type::to_char_type(character);
    errno = EPERM;
    return character;
  }
};

TEST_F(MonotonicError, ReadsTheErrorNumberBeforeItWrites) {
  const Capture capture;
  ErrnoSpoiler spoiler;
  std::streambuf* const saved = std::cerr.rdbuf(&spoiler);
  errno = EINVAL;
  getMonotonicError();
  std::cerr.rdbuf(saved);
  EXPECT_EQ(spoiler.text, "[ERROR] getMonotonic: Invalid argument\n");
}

TEST_F(MonotonicError, DescribesTheFailureOfAReader) {
  platform.monotonicError = EINVAL;
  const Capture capture;
  try {
    getMonotonicMilliSeconds();
    FAIL() << "the failure was not thrown";
  } catch (int) {
    getMonotonicError();
  }
  EXPECT_EQ(capture.err(), "[ERROR] getMonotonic: Invalid argument\n");
}

struct RootCase {
  const char* name;
  unsigned int x;
  std::uint64_t start;
  std::uint64_t root;
};

constexpr RootCase rootCases[] = {
    {"Zero", 0, 0, 0},
    {"One", 1, 0, 1},
    {"TwoRoundsDown", 2, 0, 1},
    {"ThreeRoundsUp", 3, 0, 2},
    {"FourIsTheLastSmallOne", 4, 0, 2},
    {"SmallOnesIgnoreTheGuess", 4, 9223372036854775808U, 2},
    {"FiveIsTheFirstIterated", 5, 0, 2},
    {"SixRoundsDown", 6, 0, 2},
    {"SevenRoundsUp", 7, 0, 3},
    {"Eight", 8, 0, 3},
    {"BelowASquare", 24, 0, 5},
    {"ASquare", 25, 0, 5},
    {"GoodGuess", 50, 7, 7},
    {"PoorGuess", 50, 1000000, 7},
    {"GuessOfOne", 50, 1, 7},
    {"LargestGuessThatFitsTenfold", 50, 1844674407370955161U, 7},
    {"NinetyNine", 99, 0, 10},
    {"Thousand", 1000, 0, 32},
    {"FiveDigits", 12345, 0, 111},
    {"SixteenBits", 65535, 0, 256},
    {"LargestRadicand", 4294967295U, 0, 65536},
    {"LargestRadicandWithAGuess", 4294967295U, 65536, 65536},
};

class SquareRoot : public testing::TestWithParam<RootCase> {};

TEST_P(SquareRoot, IsRoundedToTheNearestInteger) {
  EXPECT_EQ(sqrtiter(GetParam().x, GetParam().start), GetParam().root);
}

INSTANTIATE_TEST_SUITE_P(Table, SquareRoot, testing::ValuesIn(rootCases),
                         [](const auto& tested) { return tested.param.name; });

// root - 1/2 <= sqrt(x) < root + 1/2 in integers: the square of root + 1/2 is
// no integer, so it lies between root² + root and the number after it.
bool isNearestRoot(std::uint64_t root, std::uint64_t x) {
  return x <= root * root + root && (root == 0 || x > root * root - root);
}

TEST(SquareRootSweep, AgreesWithExactArithmeticForSmallRadicands) {
  for (unsigned int x = 0; x < 1U << 18; ++x) {
    ASSERT_TRUE(isNearestRoot(sqrtiter(x, 0), x)) << x;
  }
}

// Wherever the result steps from one root to the next, in the whole range.
TEST(SquareRootSweep, StepsAtTheRightRadicands) {
  for (std::uint64_t root = 1; root <= 65535; ++root) {
    const std::uint64_t last = root * root + root;
    ASSERT_EQ(sqrtiter(static_cast<unsigned int>(last), 0), root);
    ASSERT_EQ(sqrtiter(static_cast<unsigned int>(last + 1), 0), root + 1);
  }
}

TEST(SquareRootSweep, GuessesDoNotChangeTheResult) {
  for (unsigned int x = 0; x < 1000; ++x) {
    const std::uint64_t root = sqrtiter(x, 0);
    for (std::uint64_t guess = 1; guess < 100; ++guess) {
      ASSERT_EQ(sqrtiter(x, guess), root) << x << " from " << guess;
    }
  }
  for (unsigned int x = 5; x < 4000000000U; x += 65521) {
    const std::uint64_t root = sqrtiter(x, 0);
    for (std::uint64_t guess = root - 2; guess <= root + 2; ++guess) {
      ASSERT_EQ(sqrtiter(x, guess), root) << x << " from " << guess;
    }
  }
}

}  // namespace
