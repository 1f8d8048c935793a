// SPDX-License-Identifier: MIT

#include "qorutil/scheduler.h"

#include "qorutil/exception.h"
#include "qorutil/time.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <utility>

#include "common/sleep.h"

namespace {

using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;
using Limits = std::numeric_limits<std::int64_t>;

constexpr std::int64_t nanosecondsPerSecond = 1000000000;

// time × scale + 0.5, truncated. Every fma is a single operation that rounds
// once, on every target; a plain product and sum may be contracted into one
// rounding (ARM) or carry excess precision (x87). The sum is taken doubled
// because a factor of 1.0 is folded into a plain addition.
nanoseconds stretched(nanoseconds time, double scale) {
  const auto count = static_cast<double>(time.count());
  const double product = std::fma(count, scale, 0.0);
  const double sum = std::fma(product, 2.0, 1.0) / 2;
  constexpr double end = 9223372036854775808.0;  // one past the largest count
  if (sum < -end) {
    return nanoseconds::min();
  }
  return sum < end ? nanoseconds(static_cast<std::int64_t>(sum))
                   : nanoseconds::max();
}

// The sum, or the end of the range that it would leave.
Clock::time_point later(Clock::time_point from, nanoseconds delay) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(from.time_since_epoch().count(), delay.count(),
                             &sum)) {
    sum = delay.count() < 0 ? Limits::min() : Limits::max();
  }
  return Clock::time_point(nanoseconds(sum));
}

using JobIterator = std::vector<JobScheduler::Job>::iterator;

// Tells whether `job` runs before `other`: it is due earlier, or at the same
// time and stands in front of it.
bool isBefore(JobIterator job, JobIterator other) {
  return job->next != other->next ? job->next < other->next : job < other;
}

void sleepUntil(Clock::time_point due) {
  const Clock::time_point now = Clock::now();
  if (now < due) {
    const auto missing = static_cast<std::uint64_t>((due - now).count());
    sleepThroughSignals(sleepRequest(missing / nanosecondsPerSecond,
                                     missing % nanosecondsPerSecond));
  }
}

void printCount(std::ostream& os, nanoseconds time) {
  os << time.count();
  if ((os.flags() & std::ios_base::showbase) != 0) {
    os << ((os.flags() & std::ios_base::skipws) != 0 ? "ns" : " ns");
  }
}

void printDueTime(std::ostream& os, nanoseconds time) {
  if ((os.flags() & std::ios_base::scientific) != 0) {
    printCount(os, time);
    return;
  }
  timespec split{};
  split.tv_sec = static_cast<std::time_t>(time.count() / nanosecondsPerSecond);
  split.tv_nsec = static_cast<long>(time.count() % nanosecondsPerSecond);
  os << split;
}

}  // namespace

// Marks the scheduler as running, also when an exception leaves the run.
class JobScheduler::Running {
 public:
  explicit Running(JobScheduler& runner) : scheduler(runner) {
    if (scheduler.running) {
      throw QorException(EBUSY, "scheduler is already running");
    }
    scheduler.running = true;
  }

  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  ~Running() { scheduler.running = false; }

 private:
  JobScheduler& scheduler;
};

JobScheduler::JobScheduler() = default;

JobScheduler::JobScheduler(double scale) : timeScale(scale) {}

JobScheduler::~JobScheduler() = default;

JobScheduler& JobScheduler::add(nanoseconds period, nanoseconds offset,
                                std::function<void()> func) {
  if (running) {
    throw QorException(EBUSY, "jobs must not change during a run");
  }
  sorted = false;
  jobs.push_back(Job{period, offset, {}, std::move(func)});
  return *this;
}

void JobScheduler::setTimeScale(double scale) {
  if (running) {
    throw QorException(EBUSY, "jobs must not change during a run");
  }
  timeScale = scale;
}

double JobScheduler::getTimeScale() const {
  return timeScale;
}

const std::vector<JobScheduler::Job>& JobScheduler::getJobs() const {
  return jobs;
}

std::size_t JobScheduler::getMaxRunQueue() const {
  return maxRunQueue;
}

Clock::time_point JobScheduler::getStart() const {
  return start;
}

void JobScheduler::run(const Clock::time_point& until) {
  const Running mark(*this);
  Clock::time_point now = Clock::now();
  start = now;
  setDueTimes();
  maxRunQueue = 0;
  if (jobs.empty()) {
    return;
  }
  // Each time anew: a job may move what the caller has passed.
  while (until.time_since_epoch().count() == 0 || until >= now) {
    runBatch(now);
    now = Clock::now();
  }
}

void JobScheduler::runNext(const Clock::time_point& now) {
  const Running mark(*this);
  runBatch(now);
}

void JobScheduler::setDueTimes() {
  sorted = false;
  for (Job& job : jobs) {
    if (timeScale > 1.0) {
      job.period = stretched(job.period, timeScale);
      job.offset = stretched(job.offset, timeScale);
    }
    job.next = later(start, job.offset);
  }
}

void JobScheduler::sortQueue() {
  runQueue.clear();
  runQueue.reserve(jobs.size());
  for (auto job = jobs.begin(); job != jobs.end(); ++job) {
    runQueue.push_back(job);
  }
  std::sort(runQueue.begin(), runQueue.end(), isBefore);
}

// The number of jobs due together with the first one.
std::size_t JobScheduler::batchSize() const {
  std::size_t size = 1;
  while (size < runQueue.size() &&
         runQueue[size]->next == runQueue.front()->next) {
    ++size;
  }
  return size;
}

// Brings the first `batch` jobs, which have run, to their new places. The last
// one goes first, so that what lies behind a job is always in order.
void JobScheduler::requeue(std::size_t batch) {
  auto place = runQueue.begin() + static_cast<std::ptrdiff_t>(batch);
  while (place != runQueue.begin()) {
    const auto rest = place--;
    if (rest == runQueue.end() || isBefore(*place, *rest)) {
      continue;
    }
    const auto job = *place;
    // Jobs of one period go straight to the end.
    const auto end =
        isBefore(runQueue.back(), job)
            ? runQueue.end()
            : std::lower_bound(rest, runQueue.end(), job, isBefore);
    *std::move(rest, end, place) = job;
  }
}

void JobScheduler::runBatch(const Clock::time_point& now) {
  if (jobs.empty()) {
    throw QorException(EFAULT, "run queue must never be empty");
  }
  if (!sorted) {
    sortQueue();
  }
  const std::size_t batch = batchSize();
  maxRunQueue = std::max(maxRunQueue, batch);

  const Clock::time_point due = runQueue.front()->next;
  if (due > now) {
    sleepUntil(due);
  }
  sorted = false;  // until all have run: an exception may end the batch
  for (std::size_t i = 0; i < batch; ++i) {
    Job& job = *runQueue[i];
    job.func();
    job.next = later(job.next, job.period);
  }
  requeue(batch);
  sorted = true;
}

std::ostream& operator<<(std::ostream& os, const JobScheduler::Job& job) {
  os << '(';
  printCount(os, job.period);
  os << ',';
  printCount(os, job.offset);
  os << ',';
  printDueTime(os, job.next.time_since_epoch());
  return os << ')';
}
