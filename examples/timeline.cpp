// SPDX-License-Identifier: MIT

#include <chrono>
#include <cstdio>

#include <qorutil/scheduler.h>
#include <qorutil/time.h>

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

int main() {
  Clock::time_point until{};  // for ever
  JobScheduler scheduler;
  // A job prints when it is due, in milliseconds from the start, and works.
  const auto work = [&](const char* name, std::size_t job, int busy) {
    const JobScheduler::Job& self = scheduler.getJobs()[job];
    const auto due =
        duration_cast<milliseconds>(self.next - scheduler.getStart()).count();
    std::printf("%-6s due at %3d, busy for %2d\n", name, static_cast<int>(due),
                busy);
    millisleep(busy);
    return due;
  };
  scheduler
      .add(milliseconds(20), milliseconds(0),
           [&, runs = 0]() mutable {  // the third run hangs
             if (work("sample", 0, ++runs == 3 ? 50 : 5) == 140) {
               until = Clock::time_point(milliseconds(1));  // long past
             }
           })
      .add(milliseconds(50), milliseconds(10), [&] { work("report", 1, 5); });
  scheduler.run(until);
}
