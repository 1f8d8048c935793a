// SPDX-License-Identifier: MIT
//
// Sleeping with nanosleep, for the sleeps of the interface and the scheduler.

#ifndef QORUTIL_COMMON_SLEEP_H
#define QORUTIL_COMMON_SLEEP_H

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <limits>

namespace qorutil_internal {

/// Returns the record for a sleep; `nanoseconds` is below 1000000000. Seconds
/// beyond the range of a 32-bit `time_t` are cut to its end.
inline timespec sleepRequest(std::uint64_t seconds, std::uint64_t nanoseconds) {
  constexpr std::uint64_t longest = std::numeric_limits<std::time_t>::max();
  timespec request{};
  request.tv_sec = static_cast<std::time_t>(std::min(seconds, longest));
  request.tv_nsec = static_cast<long>(nanoseconds);
  return request;
}

/// Sleeps for `request` and, after a signal, for what remains of it. Returns
/// what the last `nanosleep` returned.
inline int sleepThroughSignals(timespec request) {
  timespec remaining{};
  int result = nanosleep(&request, &remaining);
  while (result != 0 && errno == EINTR) {
    request = remaining;
    result = nanosleep(&request, &remaining);
  }
  return result;
}

}  // namespace qorutil_internal

#endif  // QORUTIL_COMMON_SLEEP_H
