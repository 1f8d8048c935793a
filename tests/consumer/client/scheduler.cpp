// SPDX-License-Identifier: MIT

#include <chrono>
#include <cstddef>
#include <functional>
#include <sstream>
#include <type_traits>
#include <vector>

#include <qorutil/scheduler.h>

#include "client.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

}  // namespace

static_assert(std::is_default_constructible_v<JobScheduler> &&
              std::is_constructible_v<JobScheduler, double> &&
              !std::is_convertible_v<double, JobScheduler> &&
              !std::is_copy_constructible_v<JobScheduler> &&
              !std::is_copy_assignable_v<JobScheduler>);
static_assert(
    has<nanoseconds JobScheduler::Job::*>(&JobScheduler::Job::period));
static_assert(
    has<nanoseconds JobScheduler::Job::*>(&JobScheduler::Job::offset));
static_assert(
    has<Clock::time_point JobScheduler::Job::*>(&JobScheduler::Job::next));
static_assert(
    has<std::function<void()> JobScheduler::Job::*>(&JobScheduler::Job::func));
static_assert(has<JobScheduler& (JobScheduler::*)(nanoseconds, nanoseconds,
                                                  std::function<void()>)>(
    &JobScheduler::add));
static_assert(has<void (JobScheduler::*)(double)>(&JobScheduler::setTimeScale));
static_assert(
    has<double (JobScheduler::*)() const>(&JobScheduler::getTimeScale));
static_assert(has<const std::vector<JobScheduler::Job>& (JobScheduler::*)()
                      const>(&JobScheduler::getJobs));
static_assert(
    has<std::size_t (JobScheduler::*)() const>(&JobScheduler::getMaxRunQueue));
static_assert(
    has<Clock::time_point (JobScheduler::*)() const>(&JobScheduler::getStart));
static_assert(
    has<void (JobScheduler::*)(const Clock::time_point&)>(&JobScheduler::run));
static_assert(has<void (JobScheduler::*)(const Clock::time_point&)>(
    &JobScheduler::runNext));
static_assert(has<std::ostream& (*)(std::ostream&, const JobScheduler::Job&)>(
    operator<<));

bool usesScheduler() {
  int runs = 0;
  Clock::time_point until = Clock::now() + std::chrono::hours(1);
  JobScheduler scheduler;
  scheduler.add(nanoseconds(2), nanoseconds(0), [&runs] { ++runs; })
      .add(nanoseconds(2), nanoseconds(0),
           [&until] { until = Clock::time_point(nanoseconds(1)); });
  scheduler.run(until);
  scheduler.runNext(Clock::now());

  JobScheduler slow(1.5);
  slow.setTimeScale(slow.getTimeScale() * 2);
  slow.add(nanoseconds(2), nanoseconds(0), nullptr);
  slow.run(Clock::time_point(nanoseconds(1)));  // long past, runs nothing
  std::ostringstream os;
  os << std::scientific << JobScheduler::Job{};
  return runs == 2 && scheduler.getMaxRunQueue() == 2 &&
         scheduler.getJobs().size() == 2 &&
         slow.getJobs()[0].period == nanoseconds(6) &&
         slow.getJobs()[0].next == slow.getStart() && os.str() == "(0,0,0)";
}
