// SPDX-License-Identifier: MIT
//
// What may be called from several threads at once, called so.

#include "qorutil/conversion.h"
#include "qorutil/system.h"
#include "qorutil/time.h"
#include "qorutil/version.h"

#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct ThreadCase {
  const char* name;
  // What differs from thread to thread, so that mixed results show.
  std::function<std::string(int number)> call;
};

void PrintTo(const ThreadCase& tested, std::ostream* os) {
  *os << tested.name;
}

template <class Record>
std::string printed(const Record& record) {
  std::ostringstream os;
  os << record;
  return os.str();
}

const ThreadCase threadCases[] = {
    {"Conversion",
     [](int number) {
       const std::string iso(50, static_cast<char>(0xC0 + number));
       const std::string utf8 = IsoToUtf8Converter(iso);
       return utf8 + Utf8ToIsoConverter(utf8);
     }},
    {"Version",
     [](int number) {
       const std::string text = "v" + std::to_string(number) + ".2";
       return printed(Version::getVersion(text)) +
              std::to_string(compareVersions(text, "v1.2", -1));
     }},
    {"PrintTime",
     [](int number) {
       return printTime(1700000000000000 +
                        static_cast<unsigned>(number) * 1000001U);
     }},
    {"Timespec",
     [](int number) {
       return printed(timespec{number, number});
     }},
    {"AscTime", [](int) { return getAscTime().empty() ? "empty" : "a time"; }},
    {"PosixTime", [](int) { return std::to_string(getPosixTime().size()); }},
    {"Interface",
     [](int number) {
       return "lo " + getIpAddress("lo") + getSubNetMask("lo") +
              getIpAddress(number % 2 == 0 ? "lo" : "missing");
     }},
    {"Host",
     [](int) {
       return getHostName() + getNodename() + getMachine() +
              std::to_string(getTotalRam());
     }},
    {"SquareRoot",
     [](int number) {
       const auto x = static_cast<unsigned>(number) * 123457U;
       return std::to_string(sqrtiter(x, 0));
     }},
};

class Threads : public testing::TestWithParam<ThreadCase> {};

TEST_P(Threads, EachGetsItsOwnResult) {
  constexpr int threadCount = 4;
  std::vector<int> wrong(threadCount);
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (int number = 0; number < threadCount; ++number) {
    const std::string expected = GetParam().call(number);
    ASSERT_NE(expected, "");
    threads.emplace_back([&wrong, number, expected] {
      for (int round = 0; round < 200; ++round) {
        if (GetParam().call(number) != expected) {
          ++wrong[static_cast<std::size_t>(number)];
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, std::vector<int>(threadCount));
}

INSTANTIATE_TEST_SUITE_P(Table, Threads, testing::ValuesIn(threadCases),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
