// SPDX-License-Identifier: MIT
//
// The scheduler on the real clock, with a signal every millisecond. Counts and
// due times are exact; how late a job starts is the machine's affair and only
// printed. QORUTIL_TEST_PERIODS is the number of periods. Where
// QORUTIL_TEST_WALL_CLOCK names the file from which libfaketime takes the wall
// clock, this is set back and forth meanwhile. scripts/check-time.sh does both.

#include "qorutil/scheduler.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>

#include <sys/time.h>

#include <gtest/gtest.h>

#include "support/files.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t signals = 0;

extern "C" void countSignal(int /*number*/) {
  signals = signals + 1;
}

// Sends SIGALRM every millisecond for as long as it lives.
class SignalEveryMillisecond {
 public:
  SignalEveryMillisecond() {
    signals = 0;
    std::signal(SIGALRM, countSignal);
    set(1000);
  }

  SignalEveryMillisecond(const SignalEveryMillisecond&) = delete;
  SignalEveryMillisecond& operator=(const SignalEveryMillisecond&) = delete;

  ~SignalEveryMillisecond() {
    set(0);
    std::signal(SIGALRM, SIG_DFL);
  }

 private:
  static void set(int period) {
    itimerval timer{};
    timer.it_interval.tv_usec = period;
    timer.it_value.tv_usec = period;
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
};

// Sets the wall clock twenty days forth or back, where that can be done.
class WallClock {
 public:
  void step() {
    const char* const file = std::getenv("QORUTIL_TEST_WALL_CLOCK");
    if (file == nullptr) {
      return;
    }
    constexpr std::time_t tenDays = 864000;
    const std::time_t before = std::time(nullptr);
    isAhead = !isAhead;
    writeFile(file, isAhead ? "+10d" : "-10d");
    const std::time_t moved = std::time(nullptr) - before;
    EXPECT_GT(isAhead ? moved : -moved, tenDays - 100);
    ++steps;
  }

  int steps{0};

 private:
  bool isAhead{false};
};

int periodsToRun() {
  const char* const text = std::getenv("QORUTIL_TEST_PERIODS");
  return text != nullptr ? std::stoi(text) : 40;
}

TEST(SchedulerSignals, LoseNoRunAndMoveNoDueTime) {
  constexpr milliseconds period(5);
  constexpr milliseconds otherPeriod(7);
  constexpr milliseconds otherOffset(3);
  const int periods = periodsToRun();
  int runs = 0;
  int otherRuns = 0;
  WallClock wallClock;
  nanoseconds latest{};
  Clock::time_point end{};  // for ever
  JobScheduler scheduler;

  // Whether this is the run number `run` of the job, and not too early.
  const auto expectDue = [&](std::size_t job, nanoseconds sinceStart) {
    const Clock::time_point due = scheduler.getJobs()[job].next;
    const Clock::time_point now = Clock::now();
    EXPECT_EQ(due, scheduler.getStart() + sinceStart);
    EXPECT_GE(now, due);
    latest = std::max<nanoseconds>(latest, now - due);
  };
  scheduler
      .add(period, nanoseconds(0),
           [&] {
             expectDue(0, runs * period);
             if (runs % 10 == 5) {
               wallClock.step();
             }
             if (++runs == periods) {
               end = Clock::time_point(nanoseconds(1));  // long past
             }
           })
      .add(otherPeriod, otherOffset, [&] {
        expectDue(1, otherOffset + otherRuns * otherPeriod);
        ++otherRuns;
      });
  {
    const SignalEveryMillisecond disturbed;
    scheduler.run(end);
  }

  EXPECT_EQ(runs, periods);
  // As many as are due no later than the last run of the other.
  const milliseconds last = (periods - 1) * period;
  EXPECT_EQ(otherRuns, (last - otherOffset) / otherPeriod + 1);
  EXPECT_EQ(scheduler.getJobs()[0].next, scheduler.getStart() + runs * period);
  EXPECT_GT(signals, 0);
  std::cout << runs << " and " << otherRuns << " runs, " << signals
            << " signals, " << wallClock.steps
            << " steps of the wall clock; the latest run was "
            << std::chrono::duration_cast<microseconds>(latest).count()
            << " us behind its due time\n";
}

}  // namespace
