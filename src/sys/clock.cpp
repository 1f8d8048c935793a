// SPDX-License-Identifier: MIT

#include "qorutil/time.h"

#include <cerrno>
#include <cstring>
#include <iostream>

#include "common/sleep.h"

namespace {

using qorutil_internal::sleepRequest;
using qorutil_internal::sleepThroughSignals;

timeval wallClock() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return now;
}

timespec monotonicClock() {
  timespec now{};
  if (clock_gettime(CLOCK_MONOTONIC, &now) == -1) {
    throw int{errno};
  }
  return now;
}

// Seconds and a fraction in one unsigned count, where no sum overflows.
std::uint64_t combine(std::time_t seconds, std::uint64_t unitsPerSecond,
                      std::int64_t fraction) {
  return static_cast<std::uint64_t>(seconds) * unitsPerSecond +
         static_cast<std::uint64_t>(fraction);
}

}  // namespace

int microsleep(std::uint64_t microseconds, bool resume) {
  if (microseconds == 0) {
    return 0;
  }
  const timespec request =
      sleepRequest(microseconds / 1000000, microseconds % 1000000 * 1000);
  if (resume) {
    return sleepThroughSignals(request);
  }
  return nanosleep(&request, nullptr);
}

int millisleep(std::int32_t milliseconds) {
  const std::int64_t microseconds = std::int64_t{milliseconds} * 1000;
  return microsleep(static_cast<std::uint64_t>(microseconds), false);
}

std::uint64_t getMilliSecondsOfDay() {
  const timeval now = wallClock();
  return combine(now.tv_sec, 1000, now.tv_usec / 1000);
}

std::uint64_t getMicroSecondsOfDay() {
  const timeval now = wallClock();
  return combine(now.tv_sec, 1000000, now.tv_usec);
}

std::int64_t getMonotonicSeconds() {
  return monotonicClock().tv_sec;
}

std::uint64_t getMonotonicMilliSeconds() {
  const timespec now = monotonicClock();
  return combine(now.tv_sec, 1000, now.tv_nsec / 1000000);
}

std::uint64_t getMonotonicMicroSeconds() {
  const timespec now = monotonicClock();
  return combine(now.tv_sec, 1000000, now.tv_nsec / 1000);
}

void getMonotonicError() {
  const int error = errno;
  std::cerr << "[ERROR] getMonotonic: " << std::strerror(error) << std::endl;
}

// Newton's iteration in tenths: the root of 100 x is ten times the root of x.
std::uint64_t sqrtiter(unsigned int x, std::uint64_t start) {
  if (x <= 4) {
    return (x + 1) / 2;
  }
  const std::uint64_t square = std::uint64_t{x} * 100;
  std::uint64_t guess = start == 0 ? square / 2 : start * 10;
  for (;;) {
    const std::uint64_t better = (square / guess + guess) / 2;
    const std::uint64_t change =
        better > guess ? better - guess : guess - better;
    if (change < 5) {
      return (better + 5) / 10;
    }
    guess = better;
  }
}
