// SPDX-License-Identifier: MIT
//
// Holds the printer of jobs against its plain way: random jobs on random
// streams, of which everything is compared that a caller can see.

#include "app/plain_job.h"

#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "support/scene.h"

namespace {

using qorutil_internal::printPlainly;
using std::chrono::nanoseconds;

JobScheduler::Job anyJob(Random& random) {
  JobScheduler::Job job;
  job.period = nanoseconds(anySigned<std::int64_t>(random));
  job.offset = nanoseconds(anySigned<std::int64_t>(random));
  job.next += nanoseconds(anySigned<std::int64_t>(random));
  return job;
}

TEST(PlainJob, Jobs) {
  constexpr int rounds = 8000;
  Random random(21);
  for (int round = 0; round < rounds; ++round) {
    const JobScheduler::Job job = anyJob(random);
    ASSERT_EQ(difference(
                  random, [&](std::ostream& os) { printPlainly(os, job); },
                  [&](std::ostream& os) { os << job; }),
              "");
  }
}

}  // namespace
