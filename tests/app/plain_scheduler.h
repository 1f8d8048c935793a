// SPDX-License-Identifier: MIT
//
// The scheduler as plainly as it can be said, a search through all jobs for
// each batch: what the tests and the benchmarks hold JobScheduler against.

#ifndef QORUTIL_TESTS_APP_PLAIN_SCHEDULER_H
#define QORUTIL_TESTS_APP_PLAIN_SCHEDULER_H

#include "qorutil/scheduler.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// Does what JobScheduler does, but for the time scale, the sleeping and the
/// refusals.
class PlainScheduler {
 public:
  using Job = JobScheduler::Job;
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::nanoseconds;

  PlainScheduler& add(Duration period, Duration offset,
                      std::function<void()> func) {
    jobs.push_back(Job{period, offset, {}, std::move(func)});
    return *this;
  }

  const std::vector<Job>& getJobs() const { return jobs; }

  std::size_t getMaxRunQueue() const { return maxRunQueue; }

  void run(const Time& until) {
    Time now = std::chrono::steady_clock::now();
    for (Job& job : jobs) {
      job.next = later(now, job.offset);
    }
    maxRunQueue = 0;
    while (!jobs.empty() &&
           (until.time_since_epoch().count() == 0 || until >= now)) {
      runNext(now);
      now = std::chrono::steady_clock::now();
    }
  }

  void runNext(const Time& /*now*/) {
    std::vector<std::size_t> batch;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      if (batch.empty() || jobs[i].next < jobs[batch.front()].next) {
        batch.assign(1, i);
      } else if (jobs[i].next == jobs[batch.front()].next) {
        batch.push_back(i);
      }
    }
    maxRunQueue = std::max(maxRunQueue, batch.size());
    for (const std::size_t i : batch) {
      jobs[i].func();
      jobs[i].next = later(jobs[i].next, jobs[i].period);
    }
  }

 private:
  // The sum, or the end of the range that it would leave.
  static Time later(Time from, Duration delay) {
    if (delay.count() > 0 && from > Time::max() - delay) {
      return Time::max();
    }
    if (delay.count() < 0 && from < Time::min() - delay) {
      return Time::min();
    }
    return from + delay;
  }

  std::vector<Job> jobs;
  std::size_t maxRunQueue{0};
};

#endif  // QORUTIL_TESTS_APP_PLAIN_SCHEDULER_H
