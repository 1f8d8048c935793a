// SPDX-License-Identifier: MIT
//
// Holds the fast ways against the plain ones: random values on random streams,
// of which everything is compared that a caller can see.

#include "sys/plain_records.h"

#include "qorutil/system.h"
#include "qorutil/time.h"

#include <cfenv>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/sysinfo.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/scene.h"

namespace {

using qorutil_internal::printPlainly;
using qorutil_internal::printTimePlainly;

constexpr int rounds = 4000;

// Both ways on any stream.
template <class T>
std::string differenceOf(Random& random, const T& record) {
  return difference(
      random, [&](std::ostream& os) { printPlainly(os, record); },
      [&](std::ostream& os) { os << record; });
}

// Many of them, as most of the time goes into making streams.
using Sizes = std::vector<printSize>;

constexpr std::size_t sizesOfAStream = 50;

std::string plainText(const Sizes& sizes) {
  std::ostringstream os;
  for (const printSize& size : sizes) {
    printPlainly(os, size);
    os << '\n';
  }
  return os.str();
}

std::string fastText(const Sizes& sizes) {
  std::ostringstream os;
  for (const printSize& size : sizes) {
    os << size << '\n';
  }
  return os.str();
}

// Lets both ways print `count` values that `make` makes.
template <class Make>
void compareSizes(int count, const Make& make) {
  Sizes sizes;
  for (int made = 1; made <= count; ++made) {
    sizes.emplace_back(make());
    if (sizes.size() == sizesOfAStream || made == count) {
      ASSERT_EQ(fastText(sizes), plainText(sizes));
      sizes.clear();
    }
  }
}

TEST(PlainRecords, Sizes) {
  Random random(9);
  for (int round = 0; round < 2 * rounds; ++round) {
    const printSize size(anyNumber(random));
    ASSERT_EQ(differenceOf(random, size), "") << size.bytes;
  }
}

// Ends of units, and what lies just in the middle between two texts.
TEST(PlainRecords, SizesThatAreRounded) {
  Random random(10);
  for (int shift = 10; shift <= 40; shift += 10) {
    compareSizes(10 * rounds, [&random, shift] {
      const std::uint64_t unit = std::uint64_t{1} << shift;
      const std::uint64_t middle = unit >> (1 + below(random, 10));
      const std::uint64_t bytes =
          below(random, 1025) * unit + below(random, 1025) * middle;
      return bytes - 2 + below(random, 4);
    });
  }
}

class RoundingMode : public testing::TestWithParam<int> {
 protected:
  RoundingMode() { std::fesetround(GetParam()); }

  ~RoundingMode() override { std::fesetround(before); }

 private:
  int before = std::fegetround();
};

TEST_P(RoundingMode, HoldsForSizes) {
  Random random(11);
  compareSizes(rounds, [&random] { return anyNumber(random); });
}

INSTANTIATE_TEST_SUITE_P(All, RoundingMode,
                         testing::Values(FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO,
                                         FE_TONEAREST));

TEST(PlainRecords, KernelRecords) {
  Random random(12);
  for (int round = 0; round < rounds; ++round) {
    mq_attr attr{};
    attr.mq_flags = anySigned<long>(random);
    attr.mq_maxmsg = anySigned<long>(random);
    attr.mq_msgsize = anySigned<long>(random);
    attr.mq_curmsgs = anySigned<long>(random);
    ASSERT_EQ(differenceOf(random, attr), "");
    can_frame frame{};
    frame.can_id = static_cast<canid_t>(random() << below(random, 32));
    frame.can_dlc = static_cast<unsigned char>(below(random, 9));
    for (unsigned char& byte : frame.data) {
      byte = static_cast<unsigned char>(random());
    }
    ASSERT_EQ(differenceOf(random, frame), "");
  }
}

TEST(PlainRecords, Sysinfo) {
  Random random(20);
  for (int round = 0; round < rounds; ++round) {
    struct sysinfo info {};

    info.uptime = anySigned<long>(random);
    for (unsigned long* field :
         {&info.loads[0], &info.loads[1], &info.loads[2], &info.totalram,
          &info.freeram, &info.sharedram, &info.bufferram, &info.totalswap,
          &info.freeswap, &info.totalhigh, &info.freehigh}) {
      *field = static_cast<unsigned long>(anyNumber(random));
    }
    info.procs = static_cast<unsigned short>(random());
    info.mem_unit = static_cast<unsigned>(anyNumber(random));
    if (below(random, 2) == 0) {
      info.mem_unit = 1;
      info.loads[0] = 65536;
    }
    ASSERT_EQ(differenceOf(random, info), "");
  }
}

TEST(PlainRecords, SignalSets) {
  Random random(19);
  for (int round = 0; round < rounds / 4; ++round) {
    sigset_t signals;
    sigemptyset(&signals);
    for (int number = 1; number <= 64; ++number) {
      if (below(random, 3) != 0) {
        sigaddset(&signals, number);
      }
    }
    ASSERT_EQ(differenceOf(random, signals), "");
  }
}

TEST(PlainRecords, TimeRecords) {
  Random random(13);
  for (int round = 0; round < rounds; ++round) {
    tm broken{};
    for (int* field : {&broken.tm_year, &broken.tm_mon, &broken.tm_mday,
                       &broken.tm_hour, &broken.tm_min, &broken.tm_sec}) {
      *field = anySigned<int>(random);
    }
    ASSERT_EQ(differenceOf(random, broken), "");
    timeval micro{};
    micro.tv_sec = anySigned<std::time_t>(random);
    micro.tv_usec = anySigned<suseconds_t>(random);
    ASSERT_EQ(differenceOf(random, micro), "");
    timespec nano{};
    nano.tv_sec = anySigned<std::time_t>(random);
    nano.tv_nsec = anySigned<long>(random);
    ASSERT_EQ(differenceOf(random, nano), "");
    const std::uint64_t microseconds = anyNumber(random) | 1;
    ASSERT_EQ(printTime(microseconds), printTimePlainly(microseconds));
  }
}

template <class T>
bool noticesFailureOf(const T& record) {
  return noticesFailure([&](std::ostream& os) { printPlainly(os, record); }) &&
         noticesFailure([&](std::ostream& os) { os << record; });
}

template <class T>
std::string differenceWhereBuffersFailOf(const T& record) {
  return differenceWhereBuffersFail(
      [&](std::ostream& os) {
        for (int i = 0; i < 4; ++i) {
          printPlainly(os, record);
        }
      },
      [&](std::ostream& os) {
        for (int i = 0; i < 4; ++i) {
          os << record;
        }
      });
}

TEST(PlainRecords, BuffersOfTheStandardLibraryFailAlike) {
  EXPECT_EQ(differenceWhereBuffersFailOf(tm{}), "");
  EXPECT_EQ(differenceWhereBuffersFailOf(timespec{3661, 5}), "");
  EXPECT_EQ(differenceWhereBuffersFailOf(printSize(1536)), "");
  EXPECT_EQ(differenceWhereBuffersFailOf(mq_attr{}), "");
  can_frame frame{};
  frame.can_dlc = 8;
  EXPECT_EQ(differenceWhereBuffersFailOf(frame), "");
  sigset_t signals;
  sigfillset(&signals);
  EXPECT_EQ(differenceWhereBuffersFailOf(signals), "");
}

TEST(PlainRecords, NoticesABufferThatFails) {
  EXPECT_TRUE(noticesFailureOf(tm{}));
  EXPECT_TRUE(noticesFailureOf(timespec{3661, 5}));
  EXPECT_TRUE(noticesFailureOf(mq_attr{}));
  EXPECT_TRUE(noticesFailureOf(can_frame{}));
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, 2);
  EXPECT_TRUE(noticesFailureOf(signals));
}

TEST(PlainRecords, TimesTakeTheHeapForTheResultAlone) {
  const FailingAllocation second(1);
  printTime(1700000000123456);
  EXPECT_FALSE(second.happened());
}

}  // namespace
