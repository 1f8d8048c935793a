// SPDX-License-Identifier: MIT

#include "qorutil/scheduler.h"

#include "qorutil/exception.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <iomanip>
#include <limits>
#include <new>
#include <ostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "app/plain_scheduler.h"
#include "support/capture.h"

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

struct SleepResult {
  int error;             // 0 when the sleep is complete
  std::int64_t elapsed;  // nanoseconds, when it is not
};

// A clock that only sleeping and the jobs themselves move.
struct Platform {
  bool faked{false};
  std::int64_t now{0};
  std::int64_t readingCosts{0};
  int otherClocksRead{0};
  std::vector<std::int64_t> sleeps;
  std::vector<SleepResult> sleepResults;  // complete when there are no more
  bool nanosecondsAreSound{true};
};

Platform platform;
long allocations = 0;

std::int64_t count(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

timespec split(std::int64_t count) {
  timespec time{};
  time.tv_sec = static_cast<std::time_t>(count / 1000000000);
  time.tv_nsec = static_cast<long>(count % 1000000000);
  return time;
}

}  // namespace

// Replaced, so that allocations can be counted; the library takes these too.
// Inlined, they would make g++ warn of a free() that meets a new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size != 0 ? size : 1)) {
    return memory;
  }
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory,
                                       std::size_t /*size*/) noexcept {
  std::free(memory);
}

// The test framework reads clocks as well; it gets the real wall clock.
extern "C" int clock_gettime(clockid_t id, timespec* time) noexcept {
  if (!platform.faked || id != CLOCK_MONOTONIC) {
    ++platform.otherClocksRead;
    return std::timespec_get(time, TIME_UTC) == TIME_UTC ? 0 : -1;
  }
  *time = split(platform.now);
  platform.now += platform.readingCosts;
  return 0;
}

#if defined(__USE_TIME_BITS64) && __TIMESIZE == 32
// Here the above replaces the call for a time_t of 64 bits; the steady clock of
// the standard library makes the one for 32.
struct narrowTime_t {
  std::int32_t seconds;
  std::int32_t nanoseconds;
};

extern "C" int getNarrowTime(clockid_t id, narrowTime_t* time) noexcept
    __asm__("clock_gettime");

extern "C" int getNarrowTime(clockid_t id, narrowTime_t* time) noexcept {
  timespec wide{};
  const int result = clock_gettime(id, &wide);
  time->seconds = static_cast<std::int32_t>(wide.tv_sec);
  time->nanoseconds = static_cast<std::int32_t>(wide.tv_nsec);
  return result;
}
#endif

extern "C" int nanosleep(const timespec* request, timespec* remaining) {
  const std::int64_t wanted = count(*request);
  const std::size_t index = platform.sleeps.size();
  platform.sleeps.push_back(wanted);
  platform.nanosecondsAreSound &=
      request->tv_nsec >= 0 && request->tv_nsec < 1000000000;
  if (index >= platform.sleepResults.size() ||
      platform.sleepResults[index].error == 0) {
    platform.now += wanted;
    return 0;
  }
  const SleepResult& scripted = platform.sleepResults[index];
  platform.now += scripted.elapsed;
  *remaining = split(wanted - scripted.elapsed);
  errno = scripted.error;
  return -1;
}

namespace {

using Sleeps = std::vector<std::int64_t>;

Clock::time_point at(std::int64_t time) {
  return Clock::time_point(nanoseconds(time));
}

std::int64_t count(Clock::time_point time) {
  return time.time_since_epoch().count();
}

class SchedulerTest : public testing::Test {
 protected:
  void SetUp() override {
    platform = Platform();
    platform.faked = true;
    platform.now = 1000;
  }

  void TearDown() override { platform = Platform(); }

  // A job that logs its name and the time at which it runs.
  std::function<void()> logs(const std::string& name) {
    return [this, name] {
      log += name + '@' + std::to_string(platform.now) + ' ';
    };
  }

  std::string log;
};

using Scheduler = SchedulerTest;
using SchedulerRun = SchedulerTest;
using SchedulerRunNext = SchedulerTest;
using SchedulerFailure = SchedulerTest;
using SchedulerScale = SchedulerTest;

TEST_F(Scheduler, BeginsEmptyAndUnscaled) {
  const JobScheduler scheduler;
  EXPECT_TRUE(scheduler.getJobs().empty());
  EXPECT_EQ(scheduler.getTimeScale(), 1.0);
  EXPECT_EQ(scheduler.getMaxRunQueue(), 0U);
  EXPECT_EQ(count(scheduler.getStart()), 0);
}

TEST_F(Scheduler, ConstructorAndSetterTakeTheScale) {
  JobScheduler scheduler(2.5);
  EXPECT_EQ(scheduler.getTimeScale(), 2.5);
  scheduler.setTimeScale(0.5);
  EXPECT_EQ(scheduler.getTimeScale(), 0.5);
}

TEST_F(Scheduler, AddKeepsTheOrderAndTheTimes) {
  JobScheduler scheduler;
  JobScheduler& returned =
      scheduler.add(std::chrono::seconds(2), std::chrono::milliseconds(3), {})
          .add(nanoseconds(4), nanoseconds(-5), logs("b"));
  EXPECT_EQ(&returned, &scheduler);
  ASSERT_EQ(scheduler.getJobs().size(), 2U);
  const JobScheduler::Job& first = scheduler.getJobs()[0];
  EXPECT_EQ(first.period.count(), 2000000000);
  EXPECT_EQ(first.offset.count(), 3000000);
  EXPECT_EQ(count(first.next), 0);
  EXPECT_FALSE(first.func);
  const JobScheduler::Job& second = scheduler.getJobs()[1];
  EXPECT_EQ(second.period.count(), 4);
  EXPECT_EQ(second.offset.count(), -5);
  EXPECT_TRUE(second.func);
}

TEST_F(Scheduler, IsNeitherCopiedNorMoved) {
  static_assert(!std::is_copy_constructible_v<JobScheduler>);
  static_assert(!std::is_move_constructible_v<JobScheduler>);
  static_assert(!std::is_copy_assignable_v<JobScheduler>);
  static_assert(!std::is_convertible_v<double, JobScheduler>);
}

TEST_F(SchedulerRun, RunsJobsInTheOrderOfTheirDueTimes) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(30), nanoseconds(10), logs("a"))
      .add(nanoseconds(20), nanoseconds(5), logs("b"));
  scheduler.run(at(1060));
  EXPECT_EQ(log, "b@1005 a@1010 b@1025 a@1040 b@1045 b@1065 ");
  EXPECT_EQ(platform.sleeps, (Sleeps{5, 5, 15, 15, 5, 20}));
}

TEST_F(SchedulerRun, JobsDueTogetherRunInTheOrderOfAddition) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(10), nanoseconds(0), logs("b"));
  scheduler.run(at(1020));
  EXPECT_EQ(log, "a@1000 b@1000 a@1010 b@1010 a@1020 b@1020 a@1030 b@1030 ");
  EXPECT_EQ(scheduler.getMaxRunQueue(), 2U);
}

TEST_F(SchedulerRun, BatchIsWhatIsDueEarliestWhereverItStands) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(100), nanoseconds(7), logs("late"))
      .add(nanoseconds(100), nanoseconds(3), logs("a"))
      .add(nanoseconds(100), nanoseconds(5), logs("middle"))
      .add(nanoseconds(100), nanoseconds(3), logs("b"))
      .add(nanoseconds(100), nanoseconds(7), logs("later"))
      .add(nanoseconds(100), nanoseconds(3), logs("c"));
  scheduler.run(at(1006));
  EXPECT_EQ(log, "a@1003 b@1003 c@1003 middle@1005 late@1007 later@1007 ");
  EXPECT_EQ(scheduler.getMaxRunQueue(), 3U);
}

TEST_F(SchedulerRun, LongestQueueIsKeptAndResetByTheNextRun) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(100), nanoseconds(0), logs("b"));
  scheduler.run(at(1030));
  EXPECT_EQ(scheduler.getMaxRunQueue(), 2U);
  scheduler.run(at(1));
  EXPECT_EQ(scheduler.getMaxRunQueue(), 0U);
}

TEST_F(SchedulerRun, PeriodZeroStaysDueAndNeverSleeps) {
  JobScheduler scheduler;
  int runs = 0;
  scheduler.add(nanoseconds(0), nanoseconds(0), [&runs] {
    ++runs;
    platform.now += 10;
  });
  scheduler.add(nanoseconds(30), nanoseconds(20), logs("starved"));
  scheduler.run(at(1050));
  EXPECT_EQ(runs, 6);
  EXPECT_EQ(log, "");
  EXPECT_EQ(platform.sleeps, Sleeps{});
}

TEST_F(SchedulerRun, EndInThePastRunsNothing) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(5), logs("a"));
  scheduler.run(at(999));
  EXPECT_EQ(log, "");
  EXPECT_EQ(count(scheduler.getStart()), 1000);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1005);
}

TEST_F(SchedulerRun, NegativeEndIsInThePast) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"));
  scheduler.run(at(-1));
  EXPECT_EQ(log, "");
}

TEST_F(SchedulerRun, EndThatIsNowHasNotPassed) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"));
  scheduler.run(at(1000));
  EXPECT_EQ(log, "a@1000 a@1010 ");
}

TEST_F(SchedulerRun, BatchThatSleepsPastTheEndStillRuns) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(500), logs("a"));
  scheduler.run(at(1001));
  EXPECT_EQ(log, "a@1500 ");
}

TEST_F(SchedulerRun, EndOfZeroMeansForEver) {
  JobScheduler scheduler;
  int runs = 0;
  scheduler.add(std::chrono::hours(1), nanoseconds(0), [&runs] {
    if (++runs == 100000) {
      throw runs;
    }
  });
  EXPECT_THROW(scheduler.run({}), int);
  EXPECT_EQ(runs, 100000);
}

TEST_F(SchedulerRun, JobMayMoveTheEnd) {
  JobScheduler scheduler;
  Clock::time_point until;
  scheduler.add(nanoseconds(10), nanoseconds(0), [this, &until] {
    logs("a")();
    if (platform.now == 1020) {
      until = at(1);
    }
  });
  scheduler.run(until);
  EXPECT_EQ(log, "a@1000 a@1010 a@1020 ");
}

TEST_F(SchedulerRun, WithoutJobsReturnsAtOnce) {
  JobScheduler scheduler;
  scheduler.run({});
  EXPECT_EQ(scheduler.getMaxRunQueue(), 0U);
  EXPECT_EQ(count(scheduler.getStart()), 1000);
  EXPECT_EQ(platform.sleeps, Sleeps{});
}

TEST_F(SchedulerRun, StartsAfreshEachTime) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(5), logs("a"));
  scheduler.run(at(1010));
  EXPECT_EQ(log, "a@1005 a@1015 ");
  platform.now = 5000;
  log.clear();
  scheduler.run(at(5000));
  EXPECT_EQ(log, "a@5005 ");
  EXPECT_EQ(count(scheduler.getStart()), 5000);
}

TEST_F(SchedulerRun, JobThatFallsBehindCatchesUpWithoutSleeping) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(10), [this] {
    logs("a")();
    if (platform.now == 1010) {
      platform.now += 35;
    }
  });
  scheduler.run(at(1055));
  EXPECT_EQ(log, "a@1010 a@1045 a@1045 a@1045 a@1050 a@1060 ");
  EXPECT_EQ(platform.sleeps, (Sleeps{10, 5, 10}));
}

TEST_F(SchedulerRun, OffsetBeforeTheStartIsCaughtUp) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(-20), logs("a"));
  scheduler.run(at(1005));
  EXPECT_EQ(log, "a@1000 a@1000 a@1000 a@1010 ");
}

// So a step of the wall clock can change nothing.
TEST_F(SchedulerRun, ReadsNoClockButTheMonotonicOne) {
  Clock::time_point until{};
  JobScheduler scheduler;
  int runs = 0;
  scheduler.add(nanoseconds(100), nanoseconds(50), [&] {
    if (++runs == 10) {
      until = at(1);
    }
  });
  const int before = platform.otherClocksRead;
  scheduler.run(until);
  EXPECT_EQ(platform.otherClocksRead, before);
}

TEST_F(SchedulerRun, PrintsNothing) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"));
  platform.sleepResults = {{EINVAL, 0}};
  const Capture capture;
  scheduler.run(at(1020));
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(SchedulerRunNext, SleepsForWhatIsMissingByTheLatestReading) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(100), logs("a"));
  scheduler.run(at(1));
  platform.now = 1030;
  scheduler.runNext(at(1020));
  EXPECT_EQ(platform.sleeps, (Sleeps{70}));
  EXPECT_EQ(log, "a@1100 ");
}

TEST_F(SchedulerRunNext, DoesNotSleepWhenTheClockHasReachedTheDueTime) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(100), logs("a"));
  scheduler.run(at(1));
  platform.now = 1100;
  scheduler.runNext(at(1020));
  EXPECT_EQ(platform.sleeps, Sleeps{});
  EXPECT_EQ(log, "a@1100 ");
}

TEST_F(SchedulerRunNext, DoesNotReadTheClockForWhatIsDue) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(100), logs("a"));
  scheduler.run(at(1));
  platform.now = 1030;
  scheduler.runNext(at(1100));
  EXPECT_EQ(platform.sleeps, Sleeps{});
  EXPECT_EQ(log, "a@1030 ");
}

TEST_F(SchedulerRunNext, AdvancesTheJobsThatRanAlone) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(10), nanoseconds(1), logs("b"));
  scheduler.run(at(1));
  scheduler.runNext(at(1000));
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1010);
  EXPECT_EQ(count(scheduler.getJobs()[1].next), 1001);
  EXPECT_EQ(count(scheduler.getStart()), 1000);
  EXPECT_EQ(scheduler.getMaxRunQueue(), 1U);
}

TEST_F(SchedulerRunNext, SplitsLongSleepsIntoSecondsAndNanoseconds) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), std::chrono::milliseconds(3999), logs("a"));
  scheduler.run(at(1));
  scheduler.runNext(at(1000));
  EXPECT_EQ(platform.sleeps, (Sleeps{3999000000}));
  EXPECT_TRUE(platform.nanosecondsAreSound);
}

TEST_F(SchedulerRunNext, SignalsDoNotEndTheSleep) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(100), logs("a"));
  platform.sleepResults = {{EINTR, 30}, {EINTR, 0}, {EINTR, 69}};
  scheduler.run(at(1));
  scheduler.runNext(at(1000));
  EXPECT_EQ(platform.sleeps, (Sleeps{100, 70, 70, 1}));
  EXPECT_EQ(log, "a@1100 ");
}

TEST_F(SchedulerRunNext, AnotherFailureEndsTheSleepAndTheBatchRuns) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(100), logs("a"));
  platform.sleepResults = {{EINTR, 30}, {EINVAL, 0}};
  scheduler.run(at(1));
  scheduler.runNext(at(1000));
  EXPECT_EQ(platform.sleeps, (Sleeps{100, 70}));
  EXPECT_EQ(log, "a@1030 ");
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1110);
}

TEST_F(SchedulerRunNext, AllocatesNothingAfterTheFirstCall) {
  JobScheduler scheduler;
  int runs = 0;
  for (int i = 1; i <= 50; ++i) {
    scheduler.add(nanoseconds(i), nanoseconds(i), [&runs] { ++runs; });
  }
  platform.sleeps.reserve(10000);
  scheduler.run(at(1));
  scheduler.runNext(at(1000));
  const long before = allocations;
  for (int i = 0; i < 5000; ++i) {
    scheduler.runNext(at(platform.now));
  }
  EXPECT_EQ(allocations, before);
  EXPECT_EQ(scheduler.getMaxRunQueue(), 24U);  // that many divide 2520
  EXPECT_GT(runs, 5000);
}

TEST_F(SchedulerRunNext, AllocatesNothingInBurstsEither) {
  JobScheduler scheduler;
  for (int i = 1; i <= 500; ++i) {
    scheduler.add(nanoseconds(1000 + i * 7919 % 500 * (i % 4)),
                  nanoseconds(i % 2), [] {});
  }
  scheduler.run(at(1));
  scheduler.runNext(Clock::time_point::max());
  const long before = allocations;
  for (int i = 0; i < 5000; ++i) {
    if (i % 500 == 0) {
      scheduler.run(at(1));
    }
    scheduler.runNext(Clock::time_point::max());
  }
  EXPECT_EQ(allocations, before);
}

TEST_F(SchedulerRunNext, DueTimesStayAtTheEndsOfTheRange) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds::max(), nanoseconds(0), logs("once"))
      .add(nanoseconds(10), nanoseconds::max(), logs("never"))
      .add(nanoseconds::min(), nanoseconds(-2000), logs("past"));
  scheduler.run(at(1));
  EXPECT_EQ(count(scheduler.getJobs()[1].next),
            std::numeric_limits<std::int64_t>::max());
  scheduler.runNext(at(1000));
  EXPECT_EQ(count(scheduler.getJobs()[2].next),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(log, "past@1000 ");
}

TEST_F(SchedulerRunNext, FirstJobDueNextIsTakenFromALongList) {
  JobScheduler scheduler;
  for (int i = 0; i < 300; ++i) {
    scheduler.add(nanoseconds(1000), nanoseconds(i * 7919 % 300),
                  logs(std::to_string(i * 7919 % 300)));
  }
  scheduler.run(at(1299));
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    expected += std::to_string(i) + '@' + std::to_string(1000 + i) + ' ';
  }
  EXPECT_EQ(log, expected + "0@2000 ");
}

// Number and text of the QorException that the call throws.
template <class Call>
std::string failureOf(Call call) {
  try {
    call();
  } catch (const QorException& failure) {
    return std::to_string(failure.getErrorNumber()) + ' ' + failure.what();
  }
  return "no exception";
}

const std::string mustNotChange =
    "16 jobs must not change during a run: Device or resource busy";

TEST_F(SchedulerFailure, RunNextWithoutJobsThrows) {
  JobScheduler scheduler;
  EXPECT_EQ(failureOf([&] { scheduler.runNext(at(0)); }),
            "14 run queue must never be empty: Bad address");
}

TEST_F(SchedulerFailure, JobsMayBeAddedAfterAnEmptyRunQueue) {
  JobScheduler scheduler;
  EXPECT_THROW(scheduler.runNext(at(0)), QorException);
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"));
  scheduler.runNext(at(1000));
  EXPECT_EQ(log, "a@1000 ");
}

TEST_F(SchedulerFailure, ExceptionOfAJobLeavesTheRun) {
  JobScheduler scheduler;
  bool fails = true;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(10), nanoseconds(0),
           [&fails] {
             if (fails) {
               throw std::runtime_error("job failed");
             }
           })
      .add(nanoseconds(10), nanoseconds(0), logs("c"));
  try {
    scheduler.run(at(2000));
    FAIL() << "the exception did not leave";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "job failed");
  }
  EXPECT_EQ(log, "a@1000 ");
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1010);
  EXPECT_EQ(count(scheduler.getJobs()[1].next), 1000);
  EXPECT_EQ(count(scheduler.getJobs()[2].next), 1000);

  // The failed job and those behind it are due again at once.
  fails = false;
  scheduler.runNext(at(1000));
  EXPECT_EQ(log, "a@1000 c@1000 ");
  EXPECT_EQ(count(scheduler.getJobs()[1].next), 1010);
}

TEST_F(SchedulerFailure, RunAfterAnExceptionStartsAfresh) {
  JobScheduler scheduler;
  int runs = 0;
  scheduler.add(nanoseconds(10), nanoseconds(5), [&runs] {
    if (++runs == 1) {
      throw std::runtime_error("once");
    }
  });
  EXPECT_THROW(scheduler.run(at(2000)), std::runtime_error);
  platform.now = 3000;
  scheduler.run(at(3000));
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(count(scheduler.getStart()), 3000);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 3015);
}

TEST_F(SchedulerFailure, EmptyFunctionThrowsWhenItIsDue) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(10), nanoseconds(0), {})
      .add(nanoseconds(10), nanoseconds(0), logs("c"));
  EXPECT_THROW(scheduler.run(at(2000)), std::bad_function_call);
  EXPECT_EQ(log, "a@1000 ");
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1010);
  EXPECT_EQ(count(scheduler.getJobs()[1].next), 1000);
}

TEST_F(SchedulerFailure, EmptyFunctionDoesNoHarmBeforeItIsDue) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(10), nanoseconds(15), {});
  EXPECT_THROW(scheduler.run(at(2000)), std::bad_function_call);
  EXPECT_EQ(log, "a@1000 a@1010 ");
  EXPECT_EQ(platform.now, 1015);
}

TEST_F(SchedulerFailure, AddDuringARunThrows) {
  JobScheduler scheduler;
  std::string failure;
  scheduler.add(nanoseconds(10), nanoseconds(0), [&] {
    failure = failureOf(
        [&] { scheduler.add(nanoseconds(1), nanoseconds(1), nullptr); });
  });
  scheduler.run(at(1000));
  EXPECT_EQ(failure, mustNotChange);
  EXPECT_EQ(scheduler.getJobs().size(), 1U);
}

TEST_F(SchedulerFailure, AddDuringRunNextThrows) {
  JobScheduler scheduler;
  std::string failure;
  scheduler.add(nanoseconds(10), nanoseconds(0), [&] {
    failure = failureOf(
        [&] { scheduler.add(nanoseconds(1), nanoseconds(1), nullptr); });
  });
  scheduler.runNext(at(1000));
  EXPECT_EQ(failure, mustNotChange);
  EXPECT_EQ(scheduler.getJobs().size(), 1U);
}

TEST_F(SchedulerFailure, SetTimeScaleDuringARunThrows) {
  JobScheduler scheduler(1.5);
  std::vector<std::string> failures;
  scheduler.add(nanoseconds(10), nanoseconds(0), [&] {
    failures.push_back(failureOf([&] { scheduler.setTimeScale(2.0); }));
  });
  scheduler.run(at(1000));
  scheduler.runNext(at(2000));
  EXPECT_EQ(failures, std::vector<std::string>(3, mustNotChange));
  EXPECT_EQ(scheduler.getTimeScale(), 1.5);
}

TEST_F(SchedulerFailure, JobsMayChangeAfterARun) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"));
  scheduler.run(at(1000));
  scheduler.runNext(at(2000));
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("b"));
  scheduler.setTimeScale(2.0);
  EXPECT_EQ(scheduler.getJobs().size(), 2U);
  EXPECT_EQ(scheduler.getTimeScale(), 2.0);
}

TEST_F(SchedulerFailure, JobsMayChangeAfterAnExceptionHasLeft) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), {});
  EXPECT_THROW(scheduler.run(at(2000)), std::bad_function_call);
  scheduler.add(nanoseconds(10), nanoseconds(0), {});
  EXPECT_THROW(scheduler.runNext(at(2000)), std::bad_function_call);
  scheduler.setTimeScale(2.0);
  EXPECT_EQ(scheduler.getJobs().size(), 2U);
  EXPECT_EQ(scheduler.getTimeScale(), 2.0);
}

TEST_F(SchedulerFailure, JobCannotRunItsOwnScheduler) {
  JobScheduler scheduler;
  std::vector<std::string> failures;
  scheduler.add(nanoseconds(10), nanoseconds(0), [&] {
    failures.push_back(failureOf([&] { scheduler.run({}); }));
    failures.push_back(failureOf([&] { scheduler.run(at(platform.now)); }));
    failures.push_back(failureOf([&] { scheduler.runNext(at(1)); }));
    failures.push_back(failureOf([&] { scheduler.setTimeScale(2.0); }));
  });
  scheduler.run(at(1000));
  EXPECT_EQ(scheduler.getMaxRunQueue(), 1U);
  platform.now = 2000;
  failures.clear();
  scheduler.runNext(at(2000));
  const std::string running =
      "16 scheduler is already running: Device or resource busy";
  EXPECT_EQ(failures, (std::vector<std::string>{running, running, running,
                                                mustNotChange}));
  EXPECT_EQ(count(scheduler.getStart()), 1000);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1030);
  EXPECT_EQ(scheduler.getMaxRunQueue(), 1U);
}

TEST_F(SchedulerRun, JobMayStartAfresh) {
  JobScheduler scheduler;
  scheduler.add(nanoseconds(10), nanoseconds(0), logs("a"))
      .add(nanoseconds(20), nanoseconds(5), logs("late"))
      .add(nanoseconds(10), nanoseconds(0),
           [this, &scheduler] {
             logs("b")();
             if (platform.now == 1010) {
               platform.now += 2;
               scheduler.run(at(1011));
               EXPECT_EQ(scheduler.getMaxRunQueue(), 0U);
               EXPECT_EQ(count(scheduler.getJobs()[0].next), 1012);
             }
           })
      .add(nanoseconds(30), nanoseconds(10), logs("c"));
  scheduler.run(at(1023));
  EXPECT_EQ(log,
            "a@1000 b@1000 late@1005 a@1010 b@1010 c@1012 a@1012 late@1017 "
            "a@1022 b@1022 a@1032 b@1032 ");
  EXPECT_EQ(count(scheduler.getStart()), 1012);
  // What ran behind the call is due its period after its new due time.
  EXPECT_EQ(count(scheduler.getJobs()[3].next), 1052);
}

TEST_F(SchedulerScale, JobThatStartsAfreshStretchesAgain) {
  JobScheduler scheduler(2.0);
  scheduler.add(nanoseconds(10), nanoseconds(4),
                [&scheduler] { scheduler.run(at(1)); });
  scheduler.run(at(1000));
  EXPECT_EQ(platform.now, 1008);
  EXPECT_EQ(scheduler.getJobs()[0].period.count(), 40);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1008 + 16 + 40);
}

TEST_F(SchedulerFailure, JobMayRunAnotherScheduler) {
  JobScheduler inner;
  inner.add(nanoseconds(100), nanoseconds(0), logs("inner"));
  JobScheduler scheduler;
  scheduler.add(nanoseconds(100), nanoseconds(0),
                [&] { inner.runNext(at(platform.now)); });
  scheduler.run(at(1000));
  EXPECT_EQ(log, "inner@1000 inner@1100 ");
}

TEST_F(SchedulerScale, StretchesPeriodsAndOffsets) {
  JobScheduler scheduler(2.0);
  scheduler.add(nanoseconds(10), nanoseconds(3), logs("a"));
  scheduler.run(at(1020));
  EXPECT_EQ(log, "a@1006 a@1026 ");
  EXPECT_EQ(scheduler.getJobs()[0].period.count(), 20);
  EXPECT_EQ(scheduler.getJobs()[0].offset.count(), 6);
}

TEST_F(SchedulerScale, EachRunStretchesAgain) {
  JobScheduler scheduler(2.0);
  scheduler.add(nanoseconds(10), nanoseconds(3), logs("a"));
  scheduler.run(at(1));
  scheduler.run(at(1));
  EXPECT_EQ(scheduler.getJobs()[0].period.count(), 40);
  EXPECT_EQ(scheduler.getJobs()[0].offset.count(), 12);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 1012);
}

TEST_F(SchedulerScale, RunNextDoesNotStretch) {
  JobScheduler scheduler(2.0);
  scheduler.add(nanoseconds(10), nanoseconds(3), logs("a"));
  scheduler.runNext(at(0));
  EXPECT_EQ(scheduler.getJobs()[0].period.count(), 10);
  EXPECT_EQ(count(scheduler.getJobs()[0].next), 10);
}

TEST_F(SchedulerScale, OneOrLessOrNoNumberChangesNothing) {
  for (const double scale :
       {1.0, 0.5, 0.0, -2.0, std::numeric_limits<double>::quiet_NaN()}) {
    JobScheduler scheduler(scale);
    scheduler.add(nanoseconds(10), nanoseconds(3), logs("a"));
    scheduler.run(at(1));
    EXPECT_EQ(scheduler.getJobs()[0].period.count(), 10) << scale;
    EXPECT_EQ(scheduler.getJobs()[0].offset.count(), 3) << scale;
    EXPECT_EQ(count(scheduler.getJobs()[0].next), 1003) << scale;
  }
}

struct ScaleCase {
  const char* name;
  std::int64_t time;
  double scale;
  std::int64_t stretched;
};

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

// The rows "UnlikeFused…" and "UnlikeExtended…" come out otherwise when product
// and sum share one rounding, or when they are kept with 64 bits.
constexpr ScaleCase scaleCases[] = {
    {"HalvesGoUp", 3, 1.5, 5},
    {"HalvesGoUpFromOne", 1, 1.5, 2},
    {"ZeroStaysZero", 0, 1.5, 0},
    {"NegativeHalvesAreTruncatedTowardZero", -3, 1.5, -4},
    {"NegativeOne", -1, 1.5, -1},
    {"SmallestScaleAboveOne", 1, 1.0000000000000002, 1},
    {"MoreThan53BitsAreRoundedFirst", 9007199254740993, 2.0, 18014398509481984},
    {"SumIsRoundedToEven", 4503599627370497, 1.0000000000000002,
     4503599627370498},
    {"UnlikeFusedTie", 3002399751580331, 1.5, 4503599627370496},
    {"UnlikeFusedLarge", 22219621858735995, 1.1, 24441584044609596},
    {"UnlikeFusedOdd", 4958019563586669, 1.1, 5453821519945336},
    {"UnlikeFusedEven", 6824743754130858, 1.1, 7507218129543944},
    {"UnlikeExtended", 34603997601378136, 1.1, 38064397361515952},
    {"UnlikeExtendedNegative", -24150304366912349, 1.1, -26565334803603584},
    {"UnlikeExtendedLarge", 561041728320254889, 1.1, 617145901152280448},
    {"UnlikeExtendedStored", 4504286980346291, 1.1, 4954715678380922},
    {"UnlikeExtendedStoredNegative", -6752914722741839, 1.1, -7428206195016022},
    {"UnlikeExtendedStoredLarge", -360427726038245138, 1.1,
     -396470498642069696},
    {"LargestThatFits", 9223372036854774784, 1.0000000000000002, largest},
    {"NothingFitsAboveTheEnd", largest, 1.5, largest},
    {"NothingFitsBelowTheEnd", smallest, 1.5, smallest},
    {"InfiniteScale", 1, std::numeric_limits<double>::infinity(), largest},
    {"InfiniteScaleOfANegativeTime", -1,
     std::numeric_limits<double>::infinity(), smallest},
};

class StretchedTime : public SchedulerTest,
                      public testing::WithParamInterface<ScaleCase> {};

TEST_P(StretchedTime, IsRoundedOncePerOperation) {
  JobScheduler scheduler(GetParam().scale);
  scheduler.add(nanoseconds(GetParam().time), nanoseconds(GetParam().time),
                nullptr);
  platform.now = 0;
  scheduler.run(at(-1));
  const JobScheduler::Job& job = scheduler.getJobs()[0];
  EXPECT_EQ(job.period.count(), GetParam().stretched);
  EXPECT_EQ(job.offset.count(), GetParam().stretched);
  EXPECT_EQ(count(job.next), GetParam().stretched);
}

INSTANTIATE_TEST_SUITE_P(Table, StretchedTime, testing::ValuesIn(scaleCases),
                         [](const auto& tested) { return tested.param.name; });

JobScheduler::Job makeJob(std::int64_t period, std::int64_t offset,
                          std::int64_t next) {
  JobScheduler::Job job;
  job.period = nanoseconds(period);
  job.offset = nanoseconds(offset);
  job.next = at(next);
  return job;
}

struct JobTextCase {
  const char* name;
  JobScheduler::Job job;
  std::ios_base::fmtflags flags;
  const char* text;
};

constexpr std::ios_base::fmtflags standard =
    std::ios_base::skipws | std::ios_base::dec;

const JobTextCase jobTextCases[] = {
    {"DefaultStream", makeJob(1000, 0, 5000000007), standard,
     "(1000,0,00:00:05.000000007)"},
    {"NewJob", JobScheduler::Job(), standard, "(0,0,00:00:00.000000000)"},
    {"DueTimeBeyondADay", makeJob(1, 2, 90061000000000), standard,
     "(1,2,01:01:01.000000000)"},
    {"NegativeTimes", makeJob(-1000, -5, -1), standard,
     "(-1000,-5,00:00:00.0000000-1)"},
    {"LargestTimes", makeJob(largest, smallest, 0), standard,
     "(9223372036854775807,-9223372036854775808,00:00:00.000000000)"},
    {"ShowbaseAppendsTheUnit", makeJob(1000, 0, 5000000007),
     standard | std::ios_base::showbase, "(1000ns,0ns,00:00:05.000000007)"},
    {"ShowbaseWithoutSkipwsAppendsItAfterASpace", makeJob(1000, 0, 5000000007),
     std::ios_base::dec | std::ios_base::showbase,
     "(1000 ns,0 ns,00:00:05.000000007)"},
    {"SkipwsAloneAppendsNothing", makeJob(1000, 0, 5000000007),
     std::ios_base::dec, "(1000,0,00:00:05.000000007)"},
    {"ScientificCountsTheDueTime", makeJob(1000, 0, 5000000007),
     standard | std::ios_base::scientific, "(1000,0,5000000007)"},
    {"ScientificWithShowbaseHasUnitsThroughout", makeJob(1000, 0, 5000000007),
     standard | std::ios_base::scientific | std::ios_base::showbase,
     "(1000ns,0ns,5000000007ns)"},
    {"ScientificWithShowbaseWithoutSkipws", makeJob(1000, 0, -7),
     std::ios_base::dec | std::ios_base::scientific | std::ios_base::showbase,
     "(1000 ns,0 ns,-7 ns)"},
    {"FixedIsNotScientific", makeJob(1000, 0, 5000000007),
     standard | std::ios_base::fixed, "(1000,0,00:00:05.000000007)"},
    {"CountsFollowTheStreamAndTheTimeOfDayDoesNot",
     makeJob(1000, 16, 5000000007),
     std::ios_base::skipws | std::ios_base::hex | std::ios_base::showbase,
     "(0x3e8ns,0x10ns,00:00:05.000000007)"},
};

class JobText : public testing::TestWithParam<JobTextCase> {};

TEST_P(JobText, FollowsTheFlagsAndLeavesThem) {
  std::ostringstream os;
  os.flags(GetParam().flags);
  os.fill('*');
  EXPECT_EQ(&(os << GetParam().job), &os);
  EXPECT_EQ(os.str(), GetParam().text);
  EXPECT_EQ(os.flags(), GetParam().flags);
  EXPECT_EQ(os.fill(), '*');
}

INSTANTIATE_TEST_SUITE_P(Table, JobText, testing::ValuesIn(jobTextCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(JobPrinter, FillChoosesTheSeparatorOfTheDueTime) {
  for (const auto& [fill, text] :
       {std::pair<char, const char*>{'-', "(1000,0,01-01-01.000000005)"},
        {'.', "(1000,0,01.01.01.000000005)"},
        {'\0', "(1000,0,010101.000000005)"}}) {
    std::ostringstream os;
    os.fill(fill);
    os << makeJob(1000, 0, 3661000000005);
    EXPECT_EQ(os.str(), text);
    EXPECT_EQ(os.fill(), fill);
  }
}

TEST(JobPrinter, PendingWidthAppliesToTheParenthesis) {
  std::ostringstream os;
  os << std::setw(4) << makeJob(1000, 0, 0);
  EXPECT_EQ(os.str(), "   (1000,0,00:00:00.000000000)");
  EXPECT_EQ(os.width(), 0);
}

// What a scheduler of the type `Scheduler` does with jobs, calls and failures
// that come from `seed`, as text.
template <class Scheduler>
class RandomRun {
 public:
  explicit RandomRun(unsigned seed) : random(seed) {}

  std::string trace() {
    platform.now = 1000;
    addJobs(below(2) == 0 ? 12 : 200);
    restart();
    const std::int64_t calls = 100 + below(200);
    for (std::int64_t i = 0; i < calls; ++i) {
      runNext();
      platform.now += below(10);
      if (below(100) == 0) {
        restart();
      }
      if (below(100) == 0) {
        addJobs(3);  // due at the clock's epoch until they have run
      }
    }
    return log;
  }

 private:
  std::int64_t below(std::int64_t limit) {
    return static_cast<std::int64_t>(random() % static_cast<unsigned>(limit));
  }

  // Times in one of these manners, so that there are batches of all sizes, in
  // order and out of order, and jobs that fall behind or run backwards.
  std::int64_t anyTime(std::int64_t manner) {
    switch (manner) {
      case 0:
        return 5;
      case 1:
        return below(8) - 1;
      case 2:
        return 20 + below(400);
      default:
        return below(2) == 0 ? 10 : 20 + below(3);
    }
  }

  // A time at the ends of the range, now and then.
  std::int64_t orExtreme(std::int64_t time) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (!extremes || below(20) != 0) {
      return time;
    }
    return below(4) == 0 ? Limits::min() + below(3) : Limits::max() - below(3);
  }

  void addJobs(std::int64_t limit) {
    for (std::int64_t i = below(limit); i >= 0; --i) {
      const std::int64_t period = orExtreme(anyTime(periods));
      const std::int64_t offset = orExtreme(anyTime(offsets));
      const std::size_t number = scheduler.getJobs().size();
      scheduler.add(nanoseconds(period), nanoseconds(offset),
                    [this, number] { work(number); });
    }
  }

  void work(std::size_t job) {
    log += std::to_string(job) + ' ';
    if (mishaps && below(200) == 0) {
      throw std::runtime_error("job failed");
    }
    if (mishaps && below(200) == 0) {
      restart();
    }
  }

  void restart() {
    log += "restart ";
    scheduler.run(at(1));
  }

  void runNext() {
    try {
      scheduler.runNext(Clock::time_point::max());
    } catch (const std::runtime_error&) {
      log += "failed ";
    }
    std::uint64_t digest = scheduler.getMaxRunQueue();
    for (const JobScheduler::Job& job : scheduler.getJobs()) {
      digest =
          digest * 1099511628211U + static_cast<std::uint64_t>(count(job.next));
    }
    log += std::to_string(digest) + '\n';
  }

  std::mt19937 random;
  Scheduler scheduler;
  std::string log;
  const std::int64_t periods{below(4)};
  const std::int64_t offsets{below(4)};
  const bool extremes{below(3) == 0};
  const bool mishaps{below(2) == 0};
};

TEST_F(SchedulerRunNext, DoesAsAPlainSearch) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    ASSERT_EQ(RandomRun<JobScheduler>(seed).trace(),
              RandomRun<PlainScheduler>(seed).trace())
        << "seed " << seed;
  }
}

}  // namespace
