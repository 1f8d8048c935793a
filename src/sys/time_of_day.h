// SPDX-License-Identifier: MIT
//
// The text of a time of day, for the printers of records that hold one.

#ifndef QORUTIL_SYS_TIME_OF_DAY_H
#define QORUTIL_SYS_TIME_OF_DAY_H

#include <ctime>

#include "common/line_buffer.h"

namespace qorutil_internal {

/// Adds what the printer of `timespec` writes to a stream whose fill character
/// is `separatorHint`.
void putTimeOfDay(LineBuffer& line, const timespec& time, char separatorHint);

}  // namespace qorutil_internal

#endif  // QORUTIL_SYS_TIME_OF_DAY_H
