// SPDX-License-Identifier: MIT
//
// What may be called from several threads at once, called so. The preset tsan
// sees what goes wrong too rarely to be seen in the results.

#include "qorutil/conversion.h"
#include "qorutil/exception.h"
#include "qorutil/formatting.h"
#include "qorutil/intelhex.h"
#include "qorutil/scheduler.h"
#include "qorutil/strings.h"
#include "qorutil/system.h"
#include "qorutil/time.h"
#include "qorutil/version.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <regex.h>

#include <gtest/gtest.h>

namespace {

struct ThreadCase {
  const char* name;
  int rounds;
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

// A text of the bytes from 128 on, `number` of them.
std::string highBytes(int number) {
  std::string text = "bytes: ";
  for (int i = 0; i < number; ++i) {
    text += static_cast<char>(128 + i);
  }
  return text;
}

// The image of one record, `number` bytes from address `number`, as text.
std::string imageOf(int number) {
  IntelHexFile image;
  IntelHexFile::hexfileline_t line;
  line.count = static_cast<unsigned>(number);
  line.address = static_cast<std::uint16_t>(number);
  line.data.assign(static_cast<std::size_t>(line.count),
                   static_cast<unsigned char>(number));
  const std::set<IntelHexFile::hexfileline_t> lines{line};
  image.createNewBlock(lines.begin(), lines.end());
  std::ostringstream os;
  const std::vector<unsigned char>& data = image[0]->data;
  hexdump(os, data.data(), data.data() + data.size(), "image", 16,
          HEXDUMP_OFFSET, true);
  return std::to_string(image[0]->address) + os.str();
}

// What the jobs of a scheduler leave behind.
std::string scheduled(int number) {
  std::string text;
  JobScheduler scheduler;
  for (int i = 0; i <= number; ++i) {
    scheduler.add(std::chrono::nanoseconds(1), {},
                  [&text, i] { text += std::to_string(i); });
  }
  scheduler.runNext(std::chrono::steady_clock::now());
  return text;
}

const ThreadCase threadCases[] = {
    {"Conversion", 10000,
     [](int number) {
       const std::string iso(50, static_cast<char>(0xC0 + number));
       const std::string utf8 = IsoToUtf8Converter(iso);
       return utf8 + Utf8ToIsoConverter(utf8);
     }},
    {"Version", 10000,
     [](int number) {
       const std::string text = "v" + std::to_string(number) + ".2";
       return printed(Version::getVersion(text)) +
              std::to_string(compareVersions(text, "v1.2", -1));
     }},
    {"PrintTime", 10000,
     [](int number) {
       return printTime(1700000000000000 +
                        static_cast<unsigned>(number) * 1000001U);
     }},
    {"Timespec", 10000,
     [](int number) {
       return printed(timespec{number, number});
     }},
    {"AscTime", 10000, [](int) { return std::to_string(getAscTime().size()); }},
    {"PosixTime", 10000,
     [](int) { return std::to_string(getPosixTime().size()); }},
    {"Interface", 1000,
     [](int number) {
       return "lo " + getIpAddress("lo") + getSubNetMask("lo") +
              getIpAddress(number % 2 == 0 ? "lo" : "missing");
     }},
    {"Host", 10000,
     [](int) {
       return getHostName() + getNodename() + getMachine() +
              std::to_string(getTotalRam());
     }},
    {"Login", 1000, [](int) { return "login " + getLoginName(); }},
    {"SquareRoot", 10000,
     [](int number) {
       const auto x = static_cast<unsigned>(number) * 123457U;
       return std::to_string(sqrtiter(x, 0));
     }},
    {"Exception", 10000,
     [](int number) {
       // The last ones have no text of their own.
       QorException error(number % 2 == 0 ? number + 1 : number + 10000, "it");
       error << number;
       return std::string(error.what());
     }},
    {"RegError", 10000,
     [](int number) {
       const regex_t preg{};
       return getRegError(preg, number + 1);
     }},
    {"Escape", 10000,
     [](int number) { return getEscaped(highBytes(10 * number)); }},
    {"Flags", 10000,
     [](int number) {
       return printed(std::ios_base::fmtflags(number + 1)) +
              setBits2list(static_cast<std::uint64_t>(number) + 5, ",");
     }},
    {"Tokens", 10000,
     [](int number) {
       const std::string text = std::string("a b ") + "cdef"[number];
       const std::vector<std::string> words = tokenize(text);
       std::ostringstream os;
       printSeparatedList(os,
                          {{true, words.at(0).c_str()},
                           {number != 0, words.at(1).c_str()},
                           {true, words.at(2).c_str()}},
                          ", ", "none");
       return os.str();
     }},
    {"Size", 10000,
     [](int number) {
       return printed(
           printSize(1000ULL << (8U * static_cast<unsigned>(number))));
     }},
    {"Image", 10000, [](int number) { return imageOf(number + 1); }},
    {"Scheduler", 10000, scheduled},
};

class Threads : public testing::TestWithParam<ThreadCase> {};

// Holds all threads back until the last of them has come.
class Barrier {
 public:
  explicit Barrier(int threadCount) : missing(threadCount) {}

  void wait() {
    --missing;
    while (missing > 0) {
      std::this_thread::yield();
    }
  }

 private:
  std::atomic<int> missing;
};

struct ThreadResult {
  std::string first;
  int others{0};
};

// The first calls are those of the threads, too: what a function sets up once
// is set up by all of them.
TEST_P(Threads, EachGetsItsOwnResult) {
#ifdef QORUTIL_TEST_NO_CONVERTERS
  if (std::string(GetParam().name) == "Conversion") {
    GTEST_SKIP() << "the C library has no ISO-8859-1";
  }
#endif
  constexpr int threadCount = 4;
  std::vector<ThreadResult> results(threadCount);
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  Barrier barrier(threadCount);
  for (int number = 0; number < threadCount; ++number) {
    ThreadResult& result = results[static_cast<std::size_t>(number)];
    threads.emplace_back([&result, &barrier, number] {
      barrier.wait();
      result.first = GetParam().call(number);
      for (int round = 1; round < GetParam().rounds; ++round) {
        if (GetParam().call(number) != result.first) {
          ++result.others;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (int number = 0; number < threadCount; ++number) {
    const ThreadResult& result = results[static_cast<std::size_t>(number)];
    EXPECT_NE(result.first, "") << number;
    EXPECT_EQ(result.first, GetParam().call(number)) << number;
    EXPECT_EQ(result.others, 0) << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Table, Threads, testing::ValuesIn(threadCases),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
