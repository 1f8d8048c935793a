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
#include <string_view>
#include <utility>

#include "app/plain_job.h"
#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/sleep.h"
#include "sys/time_of_day.h"

namespace {

using qorutil_internal::insertText;
using qorutil_internal::LineBuffer;
using qorutil_internal::printPlainly;
using qorutil_internal::putTimeOfDay;
using qorutil_internal::sleepRequest;
using qorutil_internal::sleepThroughSignals;
using qorutil_internal::takesNumbers;

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

// Tells whether the end that run() was given has come before `now`.
bool hasPassed(const Clock::time_point& until, const Clock::time_point& now) {
  return until.time_since_epoch().count() != 0 && until < now;
}

void sleepUntil(Clock::time_point due) {
  const Clock::time_point now = Clock::now();
  if (now < due) {
    const auto missing = static_cast<std::uint64_t>((due - now).count());
    sleepThroughSignals(sleepRequest(missing / nanosecondsPerSecond,
                                     missing % nanosecondsPerSecond));
  }
}

std::string_view unitFor(std::ios_base::fmtflags flags) {
  if ((flags & std::ios_base::showbase) == 0) {
    return "";
  }
  return (flags & std::ios_base::skipws) != 0 ? "ns" : " ns";
}

bool isCount(std::ios_base::fmtflags flags) {
  return (flags & std::ios_base::scientific) != 0;
}

timespec split(nanoseconds time) {
  timespec parts{};
  parts.tv_sec = static_cast<std::time_t>(time.count() / nanosecondsPerSecond);
  parts.tv_nsec = static_cast<long>(time.count() % nanosecondsPerSecond);
  return parts;
}

// Counts as a fresh stream writes them.
bool isOrdinary(std::ios_base::fmtflags flags) {
  constexpr auto odd =
      std::ios_base::hex | std::ios_base::oct | std::ios_base::showpos;
  return (flags & odd) == 0;
}

void putJob(LineBuffer& line, const JobScheduler::Job& job,
            std::ios_base::fmtflags flags, char fill) {
  const std::string_view unit = unitFor(flags);
  const nanoseconds due = job.next.time_since_epoch();
  line.put('(').decimal(job.period.count()).put(unit);
  line.put(',').decimal(job.offset.count()).put(unit).put(',');
  if (isCount(flags)) {
    line.decimal(due.count()).put(unit);
  } else {
    putTimeOfDay(line, split(due), fill);
  }
  line.put(')');
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
  Clock::time_point now = Clock::now();
  if (jobs.empty() || hasPassed(until, now)) {
    restart(now);  // a job may do this
    return;
  }
  const Running mark(*this);
  restart(now);
  do {
    runBatch(now);
    now = Clock::now();
  } while (!hasPassed(until, now));  // a job may move what the caller passed
}

void JobScheduler::runNext(const Clock::time_point& now) {
  const Running mark(*this);
  runBatch(now);
}

void JobScheduler::restart(const Clock::time_point& now) {
  start = now;
  maxRunQueue = 0;
  sorted = false;
  for (Job& job : jobs) {
    if (timeScale > 1.0) {
      job.period = stretched(job.period, timeScale);
      job.offset = stretched(job.offset, timeScale);
    }
    job.next = later(start, job.offset);
  }
}

// Tells whether the batch is so large that bringing its jobs to their new
// places one by one costs more than looking at every job.
bool JobScheduler::isBurst() const {
  return batchSize > std::max<std::size_t>(8, jobs.size() / 16);
}

// The plain way to the batch: looks at every job.
void JobScheduler::searchJobs() {
  runQueue.clear();
  for (auto job = jobs.begin(); job != jobs.end(); ++job) {
    if (runQueue.empty() || job->next < runQueue.front()->next) {
      runQueue.assign(1, job);
    } else if (job->next == runQueue.front()->next) {
      runQueue.push_back(job);
    }
  }
  firstDue = 0;
  batchSize = runQueue.size();
  ++searches;
}

void JobScheduler::findBatch() {
  if (!sorted || unfinished) {
    sorted = false;
    runQueue.reserve(2 * jobs.size());
    moving.reserve(jobs.size());
    searchJobs();
    return;
  }
  const Clock::time_point due = runQueue[firstDue]->next;
  std::size_t end = firstDue + 1;
  while (end < runQueue.size() && runQueue[end]->next == due) {
    ++end;
  }
  batchSize = end - firstDue;
}

// Puts the batch behind all the other jobs, if it belongs there as it is. So do
// jobs of one period, and nothing is moved for them but now and then.
bool JobScheduler::appendBatch() {
  const auto begin = runQueue.begin() + static_cast<std::ptrdiff_t>(firstDue);
  const auto end = begin + static_cast<std::ptrdiff_t>(batchSize);
  if ((end != runQueue.end() && isBefore(*begin, runQueue.back())) ||
      !std::is_sorted(begin, end, isBefore)) {
    return false;
  }
  if (runQueue.size() + batchSize > runQueue.capacity()) {
    runQueue.erase(runQueue.begin(), begin);
    firstDue = 0;
  }
  for (const std::size_t behind = firstDue + batchSize; firstDue < behind;
       ++firstDue) {
    runQueue.push_back(runQueue[firstDue]);
  }
  return true;
}

// Puts each job of the batch in its place among the others. What lies between
// two of them is moved as a whole.
void JobScheduler::mergeBatch() {
  auto place = runQueue.begin() + static_cast<std::ptrdiff_t>(firstDue);
  auto rest = place + static_cast<std::ptrdiff_t>(batchSize);
  moving.assign(place, rest);
  std::sort(moving.begin(), moving.end(), isBefore);
  for (const JobIterator job : moving) {
    const auto later = std::lower_bound(rest, runQueue.end(), job, isBefore);
    place = std::move(rest, later, place);
    *place++ = job;
    rest = later;
  }
}

void JobScheduler::sortJobs() {
  runQueue.clear();
  for (auto job = jobs.begin(); job != jobs.end(); ++job) {
    runQueue.push_back(job);
  }
  std::sort(runQueue.begin(), runQueue.end(), isBefore);
  firstDue = 0;
  sorted = true;
  searches = 0;
}

// Jobs that are due in small batches are kept in order. That is given up when a
// burst is out of order, and taken up again when looking at every job has cost
// about as much as sorting them.
void JobScheduler::putBatchBack() {
  constexpr std::size_t searchesPerSort = 16;
  if (isBurst()) {
    sorted = false;
  } else if (sorted) {
    mergeBatch();
  } else if (searches >= searchesPerSort) {
    sortJobs();
  }
}

void JobScheduler::runBatch(const Clock::time_point& now) {
  if (jobs.empty()) {
    throw QorException(EFAULT, "run queue must never be empty");
  }
  findBatch();
  maxRunQueue = std::max(maxRunQueue, batchSize);

  const Clock::time_point due = runQueue[firstDue]->next;
  if (due > now) {
    sleepUntil(due);
  }
  unfinished = true;
  for (std::size_t i = 0; i < batchSize; ++i) {
    Job& job = *runQueue[firstDue + i];
    job.func();
    job.next = later(job.next, job.period);
  }
  unfinished = false;
  if (!sorted || !appendBatch()) {
    putBatchBack();
  }
}

namespace qorutil_internal {

std::ostream& printPlainly(std::ostream& os, const JobScheduler::Job& job) {
  const std::string_view unit = unitFor(os.flags());
  const nanoseconds due = job.next.time_since_epoch();
  os << '(' << job.period.count() << unit << ',' << job.offset.count() << unit
     << ',';
  if (isCount(os.flags())) {
    os << due.count() << unit;
  } else {
    os << split(due);
  }
  return os << ')';
}

}  // namespace qorutil_internal

std::ostream& operator<<(std::ostream& os, const JobScheduler::Job& job) {
  if (!isOrdinary(os.flags()) || !takesNumbers(os)) {
    return printPlainly(os, job);
  }
  LineBuffer line;
  putJob(line, job, os.flags(), os.fill());
  insertText(os, line.view(),
             [&job](std::ostream& stream) { printPlainly(stream, job); });
  return os;
}
