// SPDX-License-Identifier: MIT

#include "qorutil/scheduler.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include <time.h>

#include <benchmark/benchmark.h>

#include "app/plain_job.h"
#include "app/plain_scheduler.h"
#include "printers.h"

#ifdef HAVE_libuv
#include <uv.h>
#endif
#ifdef HAVE_libevent
#include <event2/event.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

// A time at which all jobs are overdue, however long the benchmark runs.
const Clock::time_point longAfter = Clock::time_point::max();

// An end that has passed: run() sets the due times and returns.
const Clock::time_point longBefore(nanoseconds(1));

int jobCount(const benchmark::State& state) {
  return static_cast<int>(state.range(0));
}

// Batches of all jobs: they are due together, and all are overdue.
template <class Scheduler>
void runTogether(benchmark::State& state) {
  Scheduler scheduler;
  for (int i = 0; i < jobCount(state); ++i) {
    scheduler.add(nanoseconds(1), nanoseconds(0), [] {});
  }
  scheduler.run(longBefore);  // sets the due times
  for (auto _ : state) {
    scheduler.runNext(longAfter);
  }
  state.SetItemsProcessed(state.iterations() * jobCount(state));
}

// Batches of one job: all are overdue, each since a time of its own. The time
// is that of a round in which every job runs once, as for the peers, and of a
// hundred jobs where there are more.
template <class Scheduler>
void runStaggered(benchmark::State& state) {
  Scheduler scheduler;
  for (int i = 0; i < jobCount(state); ++i) {
    scheduler.add(nanoseconds(jobCount(state)), nanoseconds(i), [] {});
  }
  scheduler.run(longBefore);
  for (int i = 0; i < 20; ++i) {
    scheduler.runNext(longAfter);  // until the jobs are kept in order
  }
  const int batches = std::min(jobCount(state), 100);
  for (auto _ : state) {
    for (int i = 0; i < batches; ++i) {
      scheduler.runNext(longAfter);
    }
  }
  state.SetItemsProcessed(state.iterations() * batches);
}

// A batch of all jobs, each of another period, and the batch of one behind it.
// The periods ascend, descend and mix.
template <class Scheduler>
void runBurst(benchmark::State& state) {
  Scheduler scheduler;
  const int count = jobCount(state);
  for (int i = 0; i < count; ++i) {
    const std::int64_t period =
        i % 3 == 0 ? i : (i % 3 == 1 ? count - i : i * 7919LL % count);
    scheduler.add(nanoseconds(1000 + 3 * period + i % 3), nanoseconds(0),
                  [] {});
  }
  for (auto _ : state) {
    scheduler.run(longBefore);
    scheduler.runNext(longAfter);
    scheduler.runNext(longAfter);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

#define SCHEDULER_BENCHMARK(function, name) \
  BENCHMARK(function<JobScheduler>)         \
      ->Name("BM_" name)                    \
      ->Arg(10)                             \
      ->RangeMultiplier(10)                 \
      ->Range(100, 100000);                 \
  BENCHMARK(function<PlainScheduler>)       \
      ->Name("BM_" name "_plain")           \
      ->Arg(10)                             \
      ->RangeMultiplier(10)                 \
      ->Range(100, 100000)

SCHEDULER_BENCHMARK(runTogether, "runNext_together");
SCHEDULER_BENCHMARK(runStaggered, "runNext_staggered");
SCHEDULER_BENCHMARK(runBurst, "runNext_burst");

#undef SCHEDULER_BENCHMARK

// How late a job of 1 ms runs, as median and as mean of the worst tenth.
void setLateness(benchmark::State& state, std::vector<double>& lateness) {
  std::sort(lateness.begin(), lateness.end());
  const std::size_t tenth = (lateness.size() + 9) / 10;
  state.counters["p50_ns"] = lateness[lateness.size() / 2];
  state.counters["worst_ns"] =
      std::accumulate(lateness.end() - static_cast<std::ptrdiff_t>(tenth),
                      lateness.end(), 0.0) /
      static_cast<double>(tenth);
}

void BM_lateness(benchmark::State& state) {
  JobScheduler scheduler;
  std::vector<double> lateness;
  const nanoseconds period = std::chrono::milliseconds(1);
  scheduler.add(period, nanoseconds(0), [&] {
    const nanoseconds late = Clock::now() - scheduler.getJobs().front().next;
    lateness.push_back(static_cast<double>(late.count()));
  });
  scheduler.run(longBefore);
  for (auto _ : state) {
    scheduler.runNext(Clock::now());
  }
  setLateness(state, lateness);
}

BENCHMARK(BM_lateness)->UseRealTime();

void BM_lateness_nanosleep(benchmark::State& state) {
  std::vector<double> lateness;
  Clock::time_point due = Clock::now();
  for (auto _ : state) {
    const nanoseconds wait = due - Clock::now();
    if (wait.count() > 0) {
      const timespec time{0, static_cast<long>(wait.count())};
      ::nanosleep(&time, nullptr);
    }
    const nanoseconds late = Clock::now() - due;
    lateness.push_back(static_cast<double>(late.count()));
    due += std::chrono::milliseconds(1);
  }
  setLateness(state, lateness);
}

BENCHMARK(BM_lateness_nanosleep)->UseRealTime();

#ifdef HAVE_libuv

// A timer of 0 ms does not repeat by itself and, started again by its own call,
// would never let the turn end: all are started before each turn.
void BM_timers_libuv(benchmark::State& state) {
  uv_loop_t loop;
  uv_loop_init(&loop);
  std::int64_t calls = 0;
  const auto count = [](uv_timer_t* timer) {
    ++*static_cast<std::int64_t*>(timer->data);
  };
  std::vector<uv_timer_t> timers(static_cast<std::size_t>(jobCount(state)));
  for (uv_timer_t& timer : timers) {
    uv_timer_init(&loop, &timer);
    timer.data = &calls;
  }
  for (auto _ : state) {
    for (uv_timer_t& timer : timers) {
      uv_timer_start(&timer, count, 0, 0);
    }
    uv_run(&loop, UV_RUN_NOWAIT);
  }
  state.SetItemsProcessed(calls);
  for (uv_timer_t& timer : timers) {
    uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
  }
  uv_run(&loop, UV_RUN_DEFAULT);
  uv_loop_close(&loop);
}

BENCHMARK(BM_timers_libuv)
    ->Name("BM_runNext_together_libuv")
    ->Arg(10)
    ->Arg(100);
BENCHMARK(BM_timers_libuv)
    ->Name("BM_runNext_staggered_libuv")
    ->Arg(10)
    ->Arg(100);

#endif

#ifdef HAVE_libevent

// The same: nor do these repeat with 0 ms.
void BM_timers_libevent(benchmark::State& state) {
  event_base* const base = event_base_new();
  std::int64_t calls = 0;
  const auto count = [](evutil_socket_t, short, void* counter) {
    ++*static_cast<std::int64_t*>(counter);
  };
  const timeval atOnce{0, 0};
  std::vector<event*> timers;
  for (int i = 0; i < jobCount(state); ++i) {
    timers.push_back(event_new(base, -1, 0, count, &calls));
  }
  for (auto _ : state) {
    for (event* const timer : timers) {
      event_add(timer, &atOnce);
    }
    event_base_loop(base, EVLOOP_NONBLOCK);
  }
  state.SetItemsProcessed(calls);
  for (event* const timer : timers) {
    event_free(timer);
  }
  event_base_free(base);
}

BENCHMARK(BM_timers_libevent)
    ->Name("BM_runNext_together_libevent")
    ->Arg(10)
    ->Arg(100);
BENCHMARK(BM_timers_libevent)
    ->Name("BM_runNext_staggered_libevent")
    ->Arg(10)
    ->Arg(100);

#endif

JobScheduler::Job someJob() {
  JobScheduler::Job job;
  job.period = std::chrono::seconds(1);
  job.next += nanoseconds(12345678901);
  return job;
}

const bool added = addPrinter(
    "Job", [job = someJob()](std::ostream& os) { os << job; },
    [job = someJob()](std::ostream& os) {
      qorutil_internal::printPlainly(os, job);
    });

}  // namespace
