// SPDX-License-Identifier: MIT

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>

#include <sys/time.h>

#include <qorutil/time.h>

#include "client.h"

namespace {

template <class T>
using Printer = std::ostream& (*)(std::ostream&, const T&);

}  // namespace

static_assert(has<int (*)(std::uint64_t, bool)>(microsleep));
static_assert(has<int (*)(std::int32_t)>(millisleep));
static_assert(has<std::uint64_t (*)()>(getMilliSecondsOfDay));
static_assert(has<std::uint64_t (*)()>(getMicroSecondsOfDay));
static_assert(has<std::int64_t (*)()>(getMonotonicSeconds));
static_assert(has<std::uint64_t (*)()>(getMonotonicMilliSeconds));
static_assert(has<std::uint64_t (*)()>(getMonotonicMicroSeconds));
static_assert(has<void (*)()>(getMonotonicError));
static_assert(has<std::uint64_t (*)(unsigned int, std::uint64_t)>(sqrtiter));
static_assert(has<std::string (*)()>(getAscTime));
static_assert(has<std::string (*)(std::uint64_t)>(printTime));
static_assert(has<std::string (*)()>(getPosixTime));
static_assert(has<Printer<tm>>(operator<<) &&
              has<Printer<timeval>>(operator<<) &&
              has<Printer<timespec>>(operator<<));

namespace {

bool readsClocks() {
  const std::int64_t seconds = getMonotonicSeconds();
  const std::uint64_t milliseconds = getMonotonicMilliSeconds();
  const std::uint64_t microseconds = getMonotonicMicroSeconds();
  const std::uint64_t microsecondsOfDay = getMicroSecondsOfDay();
  return milliseconds / 1000 >= static_cast<std::uint64_t>(seconds) &&
         microseconds / 1000 >= milliseconds &&
         getMilliSecondsOfDay() >= microsecondsOfDay / 1000 &&
         getAscTime().size() == 24 && getPosixTime().size() == 19;
}

bool reportsAnError() {
  std::ostringstream os;
  std::streambuf* const saved = std::cerr.rdbuf(os.rdbuf());
  errno = EINVAL;
  getMonotonicError();
  std::cerr.rdbuf(saved);
  return os.str() == "[ERROR] getMonotonic: Invalid argument\n";
}

bool printsRecords() {
  std::ostringstream os;
  os << tm{} << '|' << timeval{1, 2} << '|' << timespec{3, 4};
  return os.str() == "1900-01-00 00:00:00|00:00:01.000002|00:00:03.000000004";
}

}  // namespace

bool usesTime() {
  return readsClocks() && reportsAnError() && printsRecords() &&
         microsleep(1, true) == 0 && millisleep(0) == 0 &&
         sqrtiter(12345, 0) == 111 &&
         printTime(999999) == "1970-01-01 00:00:00,999999";
}
