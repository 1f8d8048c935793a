// SPDX-License-Identifier: MIT

#include "qorutil/time.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

#include <sys/time.h>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/printed.h"

namespace {

// What the replaced calls below do; every test begins with a fresh one.
struct Platform {
  bool faked{false};
  timespec wall{};
  timeval day{};
  bool localTimeFails{false};
};

Platform platform;

}  // namespace

// The test framework reads clocks as well; it gets the real wall clock.
extern "C" int clock_gettime(clockid_t id, timespec* time) noexcept {
  if (platform.faked && id == CLOCK_REALTIME) {
    *time = platform.wall;
    return 0;
  }
  return std::timespec_get(time, TIME_UTC) == TIME_UTC ? 0 : -1;
}

extern "C" int gettimeofday(timeval* time, void*) noexcept {
  *time = platform.day;
  return 0;
}

extern "C" tm* localtime_r(const std::time_t* seconds, tm* result) noexcept {
  if (platform.localTimeFails) {
    errno = EOVERFLOW;
    return nullptr;
  }
  *result = *std::localtime(seconds);
  return result;
}

namespace {

constexpr bool wideTime = sizeof(std::time_t) == 8;

// A time zone for one test.
class Zone {
 public:
  explicit Zone(const char* name) {
    if (const char* const former = std::getenv("TZ")) {
      saved = former;
      wasSet = true;
    }
    setenv("TZ", name, 1);
    tzset();
  }

  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;

  ~Zone() {
    if (wasSet) {
      setenv("TZ", saved.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::string saved;
  bool wasSet{false};
};

class TimeTextTest : public testing::Test {
 protected:
  void SetUp() override {
    platform = Platform();
    platform.faked = true;
  }

  void TearDown() override { platform = Platform(); }
};

using AscTime = TimeTextTest;
using PosixTime = TimeTextTest;
using PrintTime = TimeTextTest;

TEST_F(AscTime, HasTheLayoutOfAsctimeWithoutTheNewline) {
  const Zone zone("UTC0");
  platform.wall = {1794731992, 999999999};
  EXPECT_EQ(getAscTime(), "Sun Nov 15 08:39:52 2026");
}

TEST_F(AscTime, PadsTheDayWithASpace) {
  const Zone zone("UTC0");
  platform.wall = {1793867992, 0};
  EXPECT_EQ(getAscTime(), "Thu Nov  5 08:39:52 2026");
}

TEST_F(AscTime, IsLocalTime) {
  platform.wall = {1794731992, 0};
  const Zone east("AAA-13:45");
  EXPECT_EQ(getAscTime(), "Sun Nov 15 22:24:52 2026");
  const Zone west("BBB+12");
  EXPECT_EQ(getAscTime(), "Sat Nov 14 20:39:52 2026");
}

TEST_F(AscTime, FollowsDaylightSavingTime) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  platform.wall = {1774745999, 0};
  EXPECT_EQ(getAscTime(), "Sun Mar 29 01:59:59 2026");
  platform.wall = {1774746000, 0};
  EXPECT_EQ(getAscTime(), "Sun Mar 29 03:00:00 2026");
}

TEST_F(AscTime, TimesBeforeTheEpochAreTruncatedTowardZero) {
  const Zone zone("UTC0");
  platform.wall = {-2, 999999999};  // 1.000000001 s before
  EXPECT_EQ(getAscTime(), "Wed Dec 31 23:59:59 1969");
  platform.wall = {-1, 1};  // 0.999999999 s before
  EXPECT_EQ(getAscTime(), "Thu Jan  1 00:00:00 1970");
  platform.wall = {-1, 0};  // nothing to cut off
  EXPECT_EQ(getAscTime(), "Wed Dec 31 23:59:59 1969");
}

TEST_F(AscTime, NextToTheEpochOnlyAFractionBeforeItCounts) {
  const Zone zone("UTC0");
  platform.wall = {-1, 0};
  EXPECT_EQ(getAscTime(), "Wed Dec 31 23:59:59 1969");
  platform.wall = {0, 999999999};
  EXPECT_EQ(getAscTime(), "Thu Jan  1 00:00:00 1970");
}

TEST_F(AscTime, ReachesBeyond32Bits) {
  if (!wideTime) {
    GTEST_SKIP() << "time_t has 32 bits";
  }
  const Zone zone("UTC0");
  platform.wall = {static_cast<std::time_t>(4102444800), 0};
  EXPECT_EQ(getAscTime(), "Fri Jan  1 00:00:00 2100");
}

TEST_F(AscTime, IsEmptyWhenThereIsNoLocalTime) {
  const Capture capture;
  platform.localTimeFails = true;
  EXPECT_EQ(getAscTime(), "");
  EXPECT_EQ(capture.transcript(), "");
}

TEST_F(PosixTime, IsInUtcAndWholeSeconds) {
  const Zone zone("AAA-13:45");
  platform.wall = {1794731992, 999999999};
  EXPECT_EQ(getPosixTime(), "2026-11-15 08:39:52");
}

TEST_F(PosixTime, PadsWithZeros) {
  platform.wall = {1767323045, 0};
  EXPECT_EQ(getPosixTime(), "2026-01-02 03:04:05");
}

TEST_F(PosixTime, ReachesBeyond32Bits) {
  if (!wideTime) {
    GTEST_SKIP() << "time_t has 32 bits";
  }
  platform.wall = {static_cast<std::time_t>(4102444800), 0};
  EXPECT_EQ(getPosixTime(), "2100-01-01 00:00:00");
}

TEST_F(PosixTime, TimesBeforeTheEpochAreTruncatedTowardZero) {
  platform.wall = {-2, 999999999};
  EXPECT_EQ(getPosixTime(), "1969-12-31 23:59:59");
  platform.wall = {-1, 1};
  EXPECT_EQ(getPosixTime(), "1970-01-01 00:00:00");
  platform.wall = {-1, 0};
  EXPECT_EQ(getPosixTime(), "1969-12-31 23:59:59");
}

TEST_F(PosixTime, NextToTheEpochOnlyAFractionBeforeItCounts) {
  platform.wall = {-1, 0};
  EXPECT_EQ(getPosixTime(), "1969-12-31 23:59:59");
  platform.wall = {0, 999999999};
  EXPECT_EQ(getPosixTime(), "1970-01-01 00:00:00");
}

struct MicrosecondsCase {
  const char* name;
  std::uint64_t microseconds;
  bool needsWideTime;
  const char* text;
};

constexpr MicrosecondsCase microsecondsCases[] = {
    {"FirstAfterTheEpoch", 1, false, "1970-01-01 00:00:00,000001"},
    {"LastOfTheFirstSecond", 999999, false, "1970-01-01 00:00:00,999999"},
    {"FirstFullSecond", 1000000, false, "1970-01-01 00:00:01,000000"},
    {"Recent", 1700000000123456, false, "2023-11-14 22:13:20,123456"},
    {"LeapDay", 1709164800000000, false, "2024-02-29 00:00:00,000000"},
    {"LastSecondOf32Bits", 2147483647000000, false,
     "2038-01-19 03:14:07,000000"},
    {"BeyondThem", 2147483648000000, true, "2038-01-19 03:14:08,000000"},
    {"YearOfFiveDigits", 253402300800000000, true,
     "10000-01-01 00:00:00,000000"},
    {"SignBit", 9223372036854775808U, true, "294247-01-10 04:00:54,775808"},
    {"Largest", 18446744073709551615U, true, "586524-01-19 08:01:49,551615"},
};

class PrintTimeText : public testing::TestWithParam<MicrosecondsCase> {};

TEST_P(PrintTimeText, IsInUtcWithACommaBeforeTheFraction) {
  if (GetParam().needsWideTime && !wideTime) {
    GTEST_SKIP() << "beyond the range of time_t";
  }
  const Zone zone("AAA-13:45");
  EXPECT_EQ(printTime(GetParam().microseconds), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, PrintTimeText,
                         testing::ValuesIn(microsecondsCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(PrintTime, ZeroMeansNow) {
  platform.day = {1700000000, 4200};
  EXPECT_EQ(printTime(0), "2023-11-14 22:13:20,004200");
}

TEST_F(PrintTime, NowMayBeTheEpoch) {
  EXPECT_EQ(printTime(0), "1970-01-01 00:00:00,000000");
}

// A locale that would print 2023 as 2.023.
struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }

  std::string do_grouping() const override { return "\3"; }
};

TEST_F(PrintTime, DoesNotDependOnTheGlobalLocale) {
  const std::locale saved =
      std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const std::string text = printTime(1700000000123456);
  std::ostringstream ordinary;
  ordinary << 1234;
  std::locale::global(saved);
  EXPECT_EQ(text, "2023-11-14 22:13:20,123456");
  EXPECT_EQ(ordinary.str(), "1.234");
}

tm makeTm(int year, int month, int day, int hour, int minute, int second) {
  tm record{};
  record.tm_year = year;
  record.tm_mon = month;
  record.tm_mday = day;
  record.tm_hour = hour;
  record.tm_min = minute;
  record.tm_sec = second;
  return record;
}

struct TmCase {
  const char* name;
  tm record;
  const char* text;
};

constexpr int largest = std::numeric_limits<int>::max();
constexpr int smallest = std::numeric_limits<int>::min();

const TmCase tmCases[] = {
    {"Ordinary", makeTm(123, 10, 14, 22, 13, 20), "2023-11-14 22:13:20"},
    {"SingleDigitsArePadded", makeTm(126, 0, 2, 3, 4, 5),
     "2026-01-02 03:04:05"},
    {"YearOfTwoDigitsIsPadded", makeTm(-1801, 0, 1, 0, 0, 0),
     "0099-01-01 00:00:00"},
    {"YearOfFiveDigitsIsWhole", makeTm(10445, 0, 1, 0, 0, 0),
     "12345-01-01 00:00:00"},
    {"NegativeYearIsPaddedInFront", makeTm(-1905, 0, 1, 0, 0, 0),
     "00-5-01-01 00:00:00"},
    {"NothingIsNormalised", makeTm(70, 12, 40, 30, 99, -1),
     "1970-13-40 30:99:-1"},
    {"AllZero", makeTm(0, 0, 0, 0, 0, 0), "1900-01-00 00:00:00"},
    {"LargestFieldsDoNotOverflow",
     makeTm(largest, largest, largest, largest, largest, largest),
     "2147485547-2147483648-2147483647 2147483647:2147483647:2147483647"},
    {"SmallestFieldsDoNotOverflow",
     makeTm(smallest, smallest, smallest, smallest, smallest, smallest),
     "-2147481748--2147483647--2147483648 "
     "-2147483648:-2147483648:-2147483648"},
};

class TmText : public testing::TestWithParam<TmCase> {};

TEST_P(TmText, PrintsTheFieldsAsTheyStand) {
  EXPECT_EQ(printedText(GetParam().record), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, TmText, testing::ValuesIn(tmCases),
                         [](const auto& tested) { return tested.param.name; });

struct TimeOfDayCase {
  const char* name;
  std::int32_t seconds;
  std::int32_t fraction;
  const char* timevalText;
  const char* timespecText;
};

constexpr TimeOfDayCase timeOfDayCases[] = {
    {"Epoch", 0, 0, "00:00:00.000000", "00:00:00.000000000"},
    {"Ordinary", 1700000000, 4200, "22:13:20.004200", "22:13:20.000004200"},
    {"SingleDigits", 3661, 5, "01:01:01.000005", "01:01:01.000000005"},
    {"LastOfTheDay", 86399, 999999, "23:59:59.999999", "23:59:59.000999999"},
    {"DateIsDropped", 86400, 0, "00:00:00.000000", "00:00:00.000000000"},
    {"LongerFractionIsWhole", 1, 1234567890, "00:00:01.1234567890",
     "00:00:01.1234567890"},
    {"BeforeTheEpoch", -1, 7, "23:59:59.000007", "23:59:59.000000007"},
    {"NegativeFractionIsPaddedInFront", 0, -5, "00:00:00.0000-5",
     "00:00:00.0000000-5"},
};

class TimeOfDayText : public testing::TestWithParam<TimeOfDayCase> {};

TEST_P(TimeOfDayText, OfATimevalOnADefaultStream) {
  const Zone zone("AAA-13:45");
  const timeval time{GetParam().seconds, GetParam().fraction};
  EXPECT_EQ(printedText(time), GetParam().timevalText);
}

TEST_P(TimeOfDayText, OfATimespecOnADefaultStream) {
  const Zone zone("AAA-13:45");
  const timespec time{GetParam().seconds, GetParam().fraction};
  EXPECT_EQ(printedText(time), GetParam().timespecText);
}

INSTANTIATE_TEST_SUITE_P(Table, TimeOfDayText,
                         testing::ValuesIn(timeOfDayCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(TimeOfDay, SecondsBeyondEveryYearStillPrint) {
  if (!wideTime) {
    GTEST_SKIP() << "time_t has 32 bits";
  }
  // gmtime_r fails for want of a year, behind the time of day.
  const timespec time{std::numeric_limits<std::time_t>::max(), 0};
  EXPECT_EQ(printedText(time), "15:30:07.000000000");
}

TEST(TimeOfDay, FillOfTheStreamChoosesTheSeparator) {
  for (int byte = 0; byte < 256; ++byte) {
    const char fill = static_cast<char>(byte);
    std::string separator(1, ':');
    if (fill == '-' || fill == '.') {
      separator = fill;
    } else if (fill == '\0') {
      separator.clear();
    }
    const std::string text = "22" + separator + "13" + separator + "20";

    const auto filled = [fill](const auto& time) {
      return printed([fill, &time](std::ostream& os) {
        os << std::setfill(fill) << time;
        EXPECT_EQ(os.fill(), fill);
      });
    };
    EXPECT_EQ(filled(timeval{1700000000, 4200}), text + ".004200") << byte;
    EXPECT_EQ(filled(timespec{1700000000, 4200}), text + ".000004200") << byte;
  }
}

// Every printer of this family, by the text it gives on a default stream.
struct PrinterCase {
  const char* name;
  void (*print)(std::ostream&);
  const char* text;
};

const PrinterCase printerCases[] = {
    {"Tm", [](std::ostream& os) { os << makeTm(123, 10, 14, 22, 13, 20); },
     "2023-11-14 22:13:20"},
    {"Timeval",
     [](std::ostream& os) {
       os << timeval{1700000000, 4200};
     },
     "22:13:20.004200"},
    {"Timespec",
     [](std::ostream& os) {
       os << timespec{1700000000, 4200};
     },
     "22:13:20.000004200"},
};

class TimePrinter : public testing::TestWithParam<PrinterCase> {};

TEST_P(TimePrinter, HasNoUseForOddFlagsAndLeavesThem) {
  constexpr std::ios_base::fmtflags oddFlags[] = {
      {},
      std::ios_base::hex | std::ios_base::left,
      std::ios_base::oct | std::ios_base::internal | std::ios_base::showbase,
      std::ios_base::dec | std::ios_base::showpos | std::ios_base::uppercase |
          std::ios_base::scientific | std::ios_base::boolalpha |
          std::ios_base::showpoint,
      ~std::ios_base::fmtflags{},
  };
  for (const std::ios_base::fmtflags flags : oddFlags) {
    std::ostringstream os;
    os.flags(flags);
    os.fill('*');
    os.precision(3);
    GetParam().print(os);
    EXPECT_EQ(os.str(), GetParam().text) << flags;
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.precision(), 3);
  }
}

TEST_P(TimePrinter, UsesUpAPendingWidth) {
  std::ostringstream os;
  os << std::setw(40);
  GetParam().print(os);
  EXPECT_EQ(os.str(), GetParam().text);
  EXPECT_EQ(os.width(), 0);
}

TEST_P(TimePrinter, WritesNoLineBreakAndReturnsAtTheSamePlace) {
  std::ostringstream os;
  os << '<';
  GetParam().print(os);
  os << '>';
  EXPECT_EQ(os.str(), std::string("<") + GetParam().text + '>');
}

TEST_P(TimePrinter, WritesNothingToAFailedStream) {
  std::ostringstream os;
  os.fill('#');
  os.setstate(std::ios_base::failbit);
  GetParam().print(os);
  EXPECT_EQ(os.str(), "");
  EXPECT_EQ(os.flags(), std::ios_base::skipws | std::ios_base::dec);
  EXPECT_EQ(os.fill(), '#');
}

INSTANTIATE_TEST_SUITE_P(Table, TimePrinter, testing::ValuesIn(printerCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(TimePrinter, ReturnsTheStreamItWasGiven) {
  std::ostringstream os;
  EXPECT_EQ(&(os << tm{}), &os);
  EXPECT_EQ(&(os << timeval{}), &os);
  EXPECT_EQ(&(os << timespec{}), &os);
}

}  // namespace
