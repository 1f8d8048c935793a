// SPDX-License-Identifier: MIT
//
// The plain way of the printer of jobs, insertion by insertion: taken where the
// fast way would show, and what the tests hold it against.

#ifndef QORUTIL_APP_PLAIN_JOB_H
#define QORUTIL_APP_PLAIN_JOB_H

#include "qorutil/scheduler.h"

#include <iosfwd>

namespace qorutil_internal {

/// The printer of `JobScheduler::Job`.
std::ostream& printPlainly(std::ostream& os, const JobScheduler::Job& job);

}  // namespace qorutil_internal

#endif  // QORUTIL_APP_PLAIN_JOB_H
