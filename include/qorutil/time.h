// SPDX-License-Identifier: MIT
//
// Time: reading the wall clock and the monotonic clock as one integer,
// sleeping, an integer square root, and times as text. Texts are in UTC, except
// for getAscTime(). Where `time_t` has 32 bits, dates end with it, in 2038; its
// width is one choice for the library and its clients.

#ifndef QORUTIL_TIME_H
#define QORUTIL_TIME_H

#include "qorutil/export.h"

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include <sys/time.h>

// The compiler refuses a client whose time_t has another width than the
// library's. The header with that comes from the build of the library; without
// it the linker does, for the printers of the records that change with time_t.
#if __has_include("qorutil/config.h")
#include "qorutil/config.h"
static_assert(sizeof(std::time_t) * 8 == QORUTIL_TIME_BITS,
              "time_t has another width in libqorutil: compile with the flags "
              "of its CMake target or of pkg-config --cflags qorutil");
#endif
#if defined(__USE_TIME_BITS64) && __TIMESIZE == 32
#define QORUTIL_TIME_ABI __attribute__((abi_tag("time64")))
QORUTIL_EXPORT QORUTIL_TIME_ABI std::ostream& operator<<(std::ostream& os,
                                                         const timeval& time);
QORUTIL_EXPORT QORUTIL_TIME_ABI std::ostream& operator<<(std::ostream& os,
                                                         const timespec& time);
#undef QORUTIL_TIME_ABI
#endif

/// Sleeps for `microseconds`; 0 returns at once, without a system call.
///
/// With `resume` a signal does not end the sleep: it goes on with what remains.
/// Without it the first signal that is handled ends the sleep.
///
/// Failure: returns -1, and `errno` is what `nanosleep` left, `EINTR` after a
/// signal. Returns 0 after the whole time. A time that `time_t` cannot hold is
/// cut to the longest one that it can.
///
///     microsleep(1500000, true);  // 0, a second and a half later
QORUTIL_EXPORT int microsleep(std::uint64_t microseconds, bool resume);

/// Sleeps for `milliseconds` or until a signal is handled; 0 returns at once.
///
/// A negative value is not rejected: it becomes a huge one, and the thread
/// sleeps until a signal arrives.
///
/// Failure: returns -1 with `errno`, as microsleep() does without `resume`.
///
///     millisleep(20);  // 0, or -1 with EINTR after a signal
QORUTIL_EXPORT int millisleep(std::int32_t milliseconds);

/// Returns the wall-clock time in milliseconds since 1970-01-01 00:00:00 UTC,
/// truncated. In spite of the name, which comes from `gettimeofday`, the count
/// does not begin at midnight. Failures are not detected.
///
///     getMilliSecondsOfDay();  // 1700000000123 on 2023-11-14 at 22:13:20.123
QORUTIL_EXPORT std::uint64_t getMilliSecondsOfDay();

/// Returns the wall-clock time in microseconds since 1970-01-01 00:00:00 UTC,
/// not since midnight. Failures are not detected.
///
///     getMicroSecondsOfDay();  // 1700000000123456
QORUTIL_EXPORT std::uint64_t getMicroSecondsOfDay();

/// Returns the whole seconds of the monotonic clock, which counts from some
/// point in the past and never goes back.
///
/// Failure: throws an `int`, the value of `errno`; nothing is printed.
///
///     getMonotonicSeconds();  // 5 when the clock is at 5.999999999 s
QORUTIL_EXPORT std::int64_t getMonotonicSeconds();

/// Returns the milliseconds of the monotonic clock, truncated.
///
/// Failure: throws an `int`, the value of `errno`; nothing is printed.
///
///     getMonotonicMilliSeconds();  // 5999 when the clock is at 5.999999999 s
QORUTIL_EXPORT std::uint64_t getMonotonicMilliSeconds();

/// Returns the microseconds of the monotonic clock, truncated.
///
/// Failure: throws an `int`, the value of `errno`; nothing is printed.
///
///     getMonotonicMicroSeconds();  // 5999999 when it is at 5.999999999 s
QORUTIL_EXPORT std::uint64_t getMonotonicMicroSeconds();

/// Writes "[ERROR] getMonotonic: " and the description of `errno`, with a
/// newline and a flush, to std::cerr.
///
/// It takes `errno` as it is on entry, not the value that a monotonic reader
/// has thrown, so it is meant to be called first thing in the handler:
///
///     try {
///       now = getMonotonicSeconds();
///     } catch (int) {
///       getMonotonicError();  // "[ERROR] getMonotonic: Invalid argument\n"
///     }
QORUTIL_EXPORT void getMonotonicError();

/// Returns the square root of `x`, rounded to the nearest integer.
///
/// `start` is a guess of the root, 0 for none. A good guess shortens the work
/// and never changes the result, as long as ten times the guess fits into 64
/// bits. Multiples of 2^63 other than 0 are not allowed: they divide by zero.
///
///     sqrtiter(12345, 0);  // 111
///     sqrtiter(50, 7);     // 7
QORUTIL_EXPORT std::uint64_t sqrtiter(unsigned int x, std::uint64_t start);

/// Returns the current local time in the layout of `asctime`, without the
/// newline; the day of the month is padded with a space.
///
/// The zone is that of the environment variable TZ when the C library first
/// looked at it: a program that changes TZ calls `tzset` afterwards.
///
/// Failure: returns an empty string when `localtime_r` fails.
///
///     getAscTime();  // "Thu Nov  5 08:39:52 2026"
QORUTIL_EXPORT std::string getAscTime();

/// Returns `microseconds` since 1970-01-01 00:00:00 UTC as a date and time in
/// UTC with six fraction digits, behind a comma.
///
/// 0 means now, so the epoch itself cannot be printed. The layout does not
/// depend on the global locale.
///
///     printTime(1700000000123456);  // "2023-11-14 22:13:20,123456"
QORUTIL_EXPORT std::string printTime(std::uint64_t microseconds);

/// Returns the current time in UTC, in whole seconds.
///
///     getPosixTime();  // "2026-11-15 08:39:52"
QORUTIL_EXPORT std::string getPosixTime();

/// Writes `time` to `os` as year-month-day hour:minute:second and returns `os`.
///
/// The fields are printed as they stand, padded with zeros, without
/// normalisation or conversion between time zones. Flags and fill of `os` have
/// no effect and come back on return; a pending field width is used up. Nothing
/// is flushed on a stream in `unitbuf` mode.
///
/// The locale of `os` has an effect: one that groups digits groups the year, as
/// in "2,023-11-14". Where the layout matters, give the stream the classic one,
/// `os.imbue(std::locale::classic())`.
///
///     os << time;  // "2023-11-14 22:13:20"
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os, const tm& time);

/// Writes the UTC time of day of `time` to `os`, with six fraction digits, and
/// returns `os`.
///
/// The date is dropped. The fill of `os` chooses the separator: with '-' or '.'
/// it is that character, with NUL there is none, and any other fill gives ':'.
/// The flags have no effect; flags and fill come back on return, and a pending
/// field width is used up. Nothing is flushed on a stream in `unitbuf` mode.
///
/// The locale of `os` has an effect: one that groups digits groups those of the
/// fraction, and with a dot between them the second example below is
/// "22-13-20.04.200". `os.imbue(std::locale::classic())` prevents that.
///
///     const timeval time{1700000000, 4200};
///     os << time;                       // "22:13:20.004200"
///     os << std::setfill('-') << time;  // "22-13-20.004200"
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os, const timeval& time);

/// Writes the UTC time of day of `time` to `os`, with nine fraction digits, and
/// returns `os`; separators, flags, fill, width and locale as for `timeval`.
///
///     os << timespec{3661, 5};  // "01:01:01.000000005"
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os, const timespec& time);

#endif  // QORUTIL_TIME_H
