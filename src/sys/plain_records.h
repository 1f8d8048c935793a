// SPDX-License-Identifier: MIT
//
// The plain ways of the printers of sizes and records, insertion by insertion:
// taken where the fast way would show, and what the tests hold it against.

#ifndef QORUTIL_SYS_PLAIN_RECORDS_H
#define QORUTIL_SYS_PLAIN_RECORDS_H

#include "qorutil/system.h"

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include <sys/time.h>

namespace qorutil_internal {

/// printSize::print().
std::ostream& printPlainly(std::ostream& os, const printSize& size);

/// The printer of `sysinfo`.
std::ostream& printPlainly(std::ostream& os, const struct sysinfo& info);

/// The printer of `mq_attr`.
std::ostream& printPlainly(std::ostream& os, const mq_attr& attr);

/// The printer of signal sets.
std::ostream& printPlainly(std::ostream& os, const __sigset_t& signals);

/// The printer of `can_frame`.
std::ostream& printPlainly(std::ostream& os, const can_frame& frame);

/// The printer of `tm`.
std::ostream& printPlainly(std::ostream& os, const tm& time);

/// The printer of `timeval`.
std::ostream& printPlainly(std::ostream& os, const timeval& time);

/// The printer of `timespec`.
std::ostream& printPlainly(std::ostream& os, const timespec& time);

/// printTime().
std::string printTimePlainly(std::uint64_t microseconds);

}  // namespace qorutil_internal

#endif  // QORUTIL_SYS_PLAIN_RECORDS_H
