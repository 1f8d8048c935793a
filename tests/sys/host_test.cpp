// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <cerrno>
#include <cfenv>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

#include <dlfcn.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/odd_stream.h"

namespace {

// The system calls, as a test wants them; an empty one is libc's own.
struct Simulation {
  std::function<int(char*, std::size_t)> getlogin;
  std::function<int(char*, std::size_t)> hostname;
  std::function<int(utsname*)> uname;
  std::function<int(struct sysinfo*)> sysinfo;
};

Simulation simulation;

template <class Function>
Function* realOne(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before libc's own, also for the library.
extern "C" int getlogin_r(char* name, std::size_t size) {
  return simulation.getlogin
             ? simulation.getlogin(name, size)
             : realOne<int(char*, std::size_t)>("getlogin_r")(name, size);
}

extern "C" int gethostname(char* name, std::size_t size) noexcept {
  return simulation.hostname
             ? simulation.hostname(name, size)
             : realOne<int(char*, std::size_t)>("gethostname")(name, size);
}

extern "C" int uname(utsname* names) noexcept {
  return simulation.uname ? simulation.uname(names)
                          : realOne<int(utsname*)>("uname")(names);
}

extern "C" int sysinfo(struct sysinfo* info) noexcept {
  return simulation.sysinfo ? simulation.sysinfo(info)
                            : realOne<int(struct sysinfo*)>("sysinfo")(info);
}

namespace {

// No query here ever writes anything.
class Host : public testing::Test {
 protected:
  ~Host() override {
    simulation = Simulation();
    EXPECT_EQ(capture.transcript(), "");
  }

  Capture capture;
};

using LoginName = Host;
using HostName = Host;
using UnixNames = Host;
using Ram = Host;

TEST_F(LoginName, IsTheTextOfTheCall) {
  std::size_t asked = 0;
  simulation.getlogin = [&asked](char* name, std::size_t size) {
    asked = size;
    std::strcpy(name, "operator");
    return 0;
  };
  EXPECT_EQ(getLoginName(), "operator");
  EXPECT_EQ(asked, 256U);
}

TEST_F(LoginName, LongestNameFits) {
  const std::string longest(255, 'n');
  simulation.getlogin = [&longest](char* name, std::size_t) {
    std::strcpy(name, longest.c_str());
    return 0;
  };
  EXPECT_EQ(getLoginName(), longest);
}

TEST_F(LoginName, AnyResultButZeroGivesAnEmptyText) {
  for (const int result : {ENXIO, ENOTTY, ERANGE, ENOENT, 1, -1}) {
    simulation.getlogin = [result](char* name, std::size_t) {
      std::strcpy(name, "left");
      return result;
    };
    EXPECT_EQ(getLoginName(), "") << result;
  }
}

TEST_F(LoginName, AgreesWithTheSystem) {
  char name[256] = "";
  const bool known = getlogin_r(name, sizeof(name)) == 0;
  EXPECT_EQ(getLoginName(), known ? name : "");
}

TEST_F(HostName, IsTheTextOfTheCall) {
  std::size_t asked = 0;
  simulation.hostname = [&asked](char* name, std::size_t size) {
    asked = size;
    std::strcpy(name, "board");
    return 0;
  };
  EXPECT_EQ(getHostName(), "board");
  EXPECT_EQ(asked, 64U);
}

TEST_F(HostName, FailureGivesAnEmptyText) {
  simulation.hostname = [](char* name, std::size_t) {
    std::strcpy(name, "left");
    errno = ENAMETOOLONG;
    return -1;
  };
  EXPECT_EQ(getHostName(), "");
}

TEST_F(HostName, EmptyNameStaysEmpty) {
  simulation.hostname = [](char* name, std::size_t) {
    name[0] = '\0';
    return 0;
  };
  EXPECT_EQ(getHostName(), "");
}

TEST_F(HostName, NameThatFillsTheBufferNeedsNoNul) {
  simulation.hostname = [](char* name, std::size_t size) {
    std::memset(name, 'h', size);
    return 0;
  };
  EXPECT_EQ(getHostName(), std::string(64, 'h'));
}

TEST_F(HostName, AgreesWithTheSystem) {
  char name[64] = "";
  const bool known = gethostname(name, sizeof(name)) == 0;
  EXPECT_EQ(getHostName(), known ? name : "");
}

int fillNames(utsname* names) {
  std::strcpy(names->sysname, "Linux");
  std::strcpy(names->nodename, "node7");
  std::strcpy(names->release, "6.1");
  std::strcpy(names->version, "#1");
  std::strcpy(names->machine, "armv7l");
  return 0;
}

TEST_F(UnixNames, NodenameAndMachineAreThoseOfUname) {
  simulation.uname = fillNames;
  EXPECT_EQ(getNodename(), "node7");
  EXPECT_EQ(getMachine(), "armv7l");
}

TEST_F(UnixNames, FailureGivesEmptyTexts) {
  simulation.uname = [](utsname* names) {
    fillNames(names);
    errno = EFAULT;
    return -1;
  };
  EXPECT_EQ(getNodename(), "");
  EXPECT_EQ(getMachine(), "");
}

TEST_F(UnixNames, AgreeWithTheSystem) {
  utsname names{};
  ASSERT_EQ(uname(&names), 0);
  EXPECT_EQ(getNodename(), names.nodename);
  EXPECT_EQ(getMachine(), names.machine);
}

TEST_F(Ram, IsTheProductWithTheUnit) {
  simulation.sysinfo = [](struct sysinfo* info) {
    info->mem_unit = 4096;
    info->totalram = 262144;
    info->freeram = 3;
    return 0;
  };
  EXPECT_EQ(getTotalRam(), 1073741824U);
  EXPECT_EQ(getFreeRam(), 12288U);
}

TEST_F(Ram, ProductHas64Bits) {
  simulation.sysinfo = [](struct sysinfo* info) {
    info->mem_unit = 4294967295U;
    info->totalram = 4294967295U;
    info->freeram = 4294967294U;
    return 0;
  };
  EXPECT_EQ(getTotalRam(), 18446744065119617025U);
  EXPECT_EQ(getFreeRam(), 18446744060824649730U);
}

TEST_F(Ram, FailureGivesZero) {
  simulation.sysinfo = [](struct sysinfo* info) {
    info->mem_unit = 1;
    info->totalram = 2;
    info->freeram = 3;
    errno = EFAULT;
    return -1;
  };
  EXPECT_EQ(getTotalRam(), 0U);
  EXPECT_EQ(getFreeRam(), 0U);
}

TEST_F(Ram, AgreesWithTheSystem) {
  struct sysinfo info {};

  ASSERT_EQ(sysinfo(&info), 0);
  EXPECT_EQ(getTotalRam(), std::uint64_t{info.totalram} * info.mem_unit);
  EXPECT_GT(getFreeRam(), 0U);
  EXPECT_LE(getFreeRam(), getTotalRam());
}

struct PathCase {
  const char* name;
  const char* path;
  const char* program;
};

constexpr PathCase pathCases[] = {
    {"AbsolutePath", "/usr/bin/tool", "tool"},
    {"NoSlash", "tool", "tool"},
    {"TrailingSlash", "dir/", ""},
    {"LoneSlash", "/", ""},
    {"EmptyText", "", ""},
    {"RelativePath", "./tool", "tool"},
    {"DoubledSlash", "a//b", "b"},
    {"Backslash", "a\\b", "a\\b"},
};

class ProgramName : public testing::TestWithParam<PathCase> {};

TEST_P(ProgramName, PointsIntoThePath) {
  const char* const path = GetParam().path;
  const char* const program = progname(path);
  EXPECT_STREQ(program, GetParam().program);
  EXPECT_EQ(program, path + std::strlen(path) - std::strlen(program));
}

INSTANTIATE_TEST_SUITE_P(Table, ProgramName, testing::ValuesIn(pathCases),
                         [](const auto& tested) { return tested.param.name; });

struct sysinfo filledInfo() {
  struct sysinfo info {};

  info.uptime = 3600;
  info.loads[0] = 65536;
  info.loads[1] = 32768;
  info.loads[2] = 255;
  info.totalram = 262144;
  info.freeram = 131072;
  info.sharedram = 1;
  info.bufferram = 384;
  info.totalswap = 393216;
  info.freeswap = 2;
  info.procs = 171;
  info.totalhigh = 0;
  info.freehigh = 3;
  info.mem_unit = 4096;
  return info;
}

std::string infoText(const struct sysinfo& info) {
  std::ostringstream os;
  EXPECT_EQ(&(os << info), &os);
  return os.str();
}

TEST(SysinfoPrinter, WritesAllFieldsInOneLine) {
  EXPECT_EQ(infoText(filledInfo()),
            "up=3600 load=65536/32768/255 totalram=1GiB freeram=512MiB "
            "sharedram=4KiB bufferram=1.5MiB totalswap=1.5GiB freeswap=8KiB "
            "procs=171 totalhigh=0B freehigh=12KiB mem_unit=4096");
}

TEST(SysinfoPrinter, EmptyRecord) {
  const struct sysinfo info {};

  EXPECT_EQ(infoText(info),
            "up=0 load=0/0/0 totalram=0B freeram=0B sharedram=0B bufferram=0B "
            "totalswap=0B freeswap=0B procs=0 totalhigh=0B freehigh=0B "
            "mem_unit=0");
}

TEST(SysinfoPrinter, UptimeIsSignedAndLoadsAreNot) {
  struct sysinfo info {};

  info.uptime = -5;
  info.loads[0] = std::numeric_limits<unsigned long>::max();
  const std::string load =
      std::to_string(std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(infoText(info),
            "up=-5 load=" + load +
                "/0/0 totalram=0B freeram=0B sharedram=0B bufferram=0B "
                "totalswap=0B freeswap=0B procs=0 totalhigh=0B freehigh=0B "
                "mem_unit=0");
}

TEST(SysinfoPrinter, SizesAre64BitProducts) {
  struct sysinfo info {};

  info.mem_unit = 1U << 31;
  info.totalram = 1U << 20;
  info.freehigh = 1U << 10;
  EXPECT_EQ(infoText(info),
            "up=0 load=0/0/0 totalram=2048TiB freeram=0B sharedram=0B "
            "bufferram=0B totalswap=0B freeswap=0B procs=0 totalhigh=0B "
            "freehigh=2TiB mem_unit=2147483648");
}

// 1026 bytes are 1.001953125 KiB.
TEST(SysinfoPrinter, RoundingModeHolds) {
  struct sysinfo info {};

  info.mem_unit = 1;
  info.totalram = 1026;
  const int before = std::fegetround();
  std::fesetround(FE_UPWARD);
  const std::string text = infoText(info);
  std::fesetround(before);
  EXPECT_EQ(text,
            "up=0 load=0/0/0 totalram=1.00196KiB freeram=0B sharedram=0B "
            "bufferram=0B totalswap=0B freeswap=0B procs=0 totalhigh=0B "
            "freehigh=0B mem_unit=1");
}

TEST(SysinfoPrinter, UsesTheFlagsOfTheStreamAndLeavesThem) {
  std::ostringstream os;
  const auto flags = std::ios_base::hex | std::ios_base::showbase |
                     std::ios_base::fixed | std::ios_base::internal;
  os.flags(flags);
  os.precision(1);
  os.fill('*');
  os << filledInfo();
  EXPECT_EQ(os.str(),
            "up=0xe10 load=0x10000/0x8000/0xff totalram=1.0 GiB "
            "freeram=512.0 MiB sharedram=4.0 KiB bufferram=1.5 MiB "
            "totalswap=1.5 GiB freeswap=8.0 KiB procs=0xab totalhigh=0.0 B "
            "freehigh=12.0 KiB mem_unit=0x1000");
  EXPECT_EQ(os.flags(), flags);
  EXPECT_EQ(os.fill(), '*');
}

TEST(SysinfoPrinter, PendingWidthAppliesToTheFirstTextAlone) {
  std::ostringstream os;
  os << std::setfill('.') << std::setw(5) << filledInfo();
  EXPECT_EQ(os.str(), ".." + infoText(filledInfo()));
}

TEST(SysinfoPrinter, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(filledInfo()));
}

}  // namespace
