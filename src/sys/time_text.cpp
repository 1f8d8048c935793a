// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"
#include "qorutil/time.h"

#include <array>
#include <cstddef>
#include <iomanip>
#include <locale>
#include <ostream>
#include <string_view>

#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"
#include "common/text_stream.h"
#include "sys/plain_records.h"
#include "sys/time_of_day.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::LineBuffer;
using qorutil_internal::printPlainly;
using qorutil_internal::StreamState;
using qorutil_internal::takesNumbers;
using qorutil_internal::TextStream;

// The wall clock in whole seconds, truncated toward zero. On 32-bit targets the
// system clock of the standard library may end with a time_t of its own.
std::time_t wallClockSeconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec < 0 && now.tv_nsec > 0 ? now.tv_sec + 1 : now.tv_sec;
}

tm utcTime(std::time_t seconds) {
  tm broken{};
  gmtime_r(&seconds, &broken);
  return broken;
}

char separatorFor(char hint) {
  return hint == '-' || hint == '.' ? hint : ':';
}

void printTimeOfDay(std::ostream& os, std::time_t seconds, char separatorHint) {
  const tm time = utcTime(seconds);
  const StreamState restored(os);
  os.flags(std::ios_base::dec | std::ios_base::fixed);
  os.fill('0');
  const char separator = separatorFor(separatorHint);
  os << std::setw(2) << time.tm_hour;
  if (separatorHint != '\0') {
    os << separator;
  }
  os << std::setw(2) << time.tm_min;
  if (separatorHint != '\0') {
    os << separator;
  }
  os << std::setw(2) << time.tm_sec;
}

// 0 means now.
timeval timeOf(std::uint64_t microseconds) {
  timeval time{};
  if (microseconds == 0) {
    gettimeofday(&time, nullptr);
  } else {
    time.tv_sec = static_cast<std::time_t>(microseconds / 1000000);
    time.tv_usec = static_cast<suseconds_t>(microseconds % 1000000);
  }
  return time;
}

// The caller's fill character is the layout switch of the time of day.
std::ostream& printTimeOfDayPlainly(std::ostream& os, std::time_t seconds,
                                    std::int64_t fraction, int fractionDigits) {
  const StreamState restored(os);
  os.flags(std::ios_base::right | std::ios_base::fixed);
  os.fill(' ');
  printTimeOfDay(os, seconds, restored.fill());
  os << '.';
  os.fill('0');
  return os << std::setw(fractionDigits) << fraction;
}

void putTimeOfDay(LineBuffer& line, std::time_t seconds, std::int64_t fraction,
                  int fractionDigits, char separatorHint) {
  const tm time = utcTime(seconds);
  const char character = separatorFor(separatorHint);
  const std::string_view separator(&character, separatorHint != '\0' ? 1 : 0);
  line.decimal(time.tm_hour, 2).put(separator).decimal(time.tm_min, 2);
  line.put(separator).decimal(time.tm_sec, 2).put('.');
  line.decimal(fraction, static_cast<std::size_t>(fractionDigits));
}

std::ostream& printTimeOfDay(std::ostream& os, std::time_t seconds,
                             std::int64_t fraction, int fractionDigits) {
  const auto plain = [=](std::ostream& stream) {
    printTimeOfDayPlainly(stream, seconds, fraction, fractionDigits);
  };
  if (!takesNumbers(os)) {
    plain(os);
    return os;
  }
  LineBuffer line;
  putTimeOfDay(line, seconds, fraction, fractionDigits, os.fill());
  insertRecord(os, line.view(), plain);
  return os;
}

void putTime(LineBuffer& line, const tm& time) {
  line.decimal(std::int64_t{time.tm_year} + 1900, 4).put('-');
  line.decimal(std::int64_t{time.tm_mon} + 1, 2).put('-');
  line.decimal(time.tm_mday, 2).put(' ');
  line.decimal(time.tm_hour, 2).put(':');
  line.decimal(time.tm_min, 2).put(':');
  line.decimal(time.tm_sec, 2);
}

}  // namespace

namespace qorutil_internal {

void putTimeOfDay(LineBuffer& line, const timespec& time, char separatorHint) {
  ::putTimeOfDay(line, time.tv_sec, time.tv_nsec, 9, separatorHint);
}

std::ostream& printPlainly(std::ostream& os, const tm& time) {
  const StreamState restored(os);
  os.flags(std::ios_base::dec | std::ios_base::fixed);
  os.fill('0');
  // Wider than the fields, so that no field value overflows.
  os << std::setw(4) << std::int64_t{time.tm_year} + 1900 << '-';
  os << std::setw(2) << std::int64_t{time.tm_mon} + 1 << '-';
  os << std::setw(2) << time.tm_mday << ' ';
  os << std::setw(2) << time.tm_hour << ':';
  os << std::setw(2) << time.tm_min << ':';
  return os << std::setw(2) << time.tm_sec;
}

std::ostream& printPlainly(std::ostream& os, const timeval& time) {
  return printTimeOfDayPlainly(os, time.tv_sec, time.tv_usec, 6);
}

std::ostream& printPlainly(std::ostream& os, const timespec& time) {
  return printTimeOfDayPlainly(os, time.tv_sec, time.tv_nsec, 9);
}

std::string printTimePlainly(std::uint64_t microseconds) {
  const timeval time = timeOf(microseconds);
  TextStream text;
  // A global locale with digit grouping would turn the year into "2,023".
  text.imbue(std::locale::classic());
  printPlainly(text, utcTime(time.tv_sec));
  text << ',' << std::setfill('0') << std::setw(6) << time.tv_usec;
  return text.str();
}

}  // namespace qorutil_internal

std::string getAscTime() {
  const std::time_t now = wallClockSeconds();
  tm local{};
  if (localtime_r(&now, &local) == nullptr) {
    return {};
  }
  std::array<char, 64> buffer{};
  asctime_r(&local, buffer.data());
  std::string text(buffer.data());
  return rightTrim(text, " \t\r\n\f");
}

std::string printTime(std::uint64_t microseconds) {
  const timeval time = timeOf(microseconds);
  LineBuffer line;
  putTime(line, utcTime(time.tv_sec));
  line.put(',').decimal(time.tv_usec, 6);
  return std::string(line.view());
}

std::string getPosixTime() {
  const tm utc = utcTime(wallClockSeconds());
  TextStream text;
  text << std::put_time(&utc, "%F %T");
  return text.str();
}

std::ostream& operator<<(std::ostream& os, const tm& time) {
  if (!takesNumbers(os)) {
    return printPlainly(os, time);
  }
  LineBuffer line;
  putTime(line, time);
  insertRecord(os, line.view(),
               [&time](std::ostream& stream) { printPlainly(stream, time); });
  return os;
}

std::ostream& operator<<(std::ostream& os, const timeval& time) {
  return printTimeOfDay(os, time.tv_sec, time.tv_usec, 6);
}

std::ostream& operator<<(std::ostream& os, const timespec& time) {
  return printTimeOfDay(os, time.tv_sec, time.tv_nsec, 9);
}
