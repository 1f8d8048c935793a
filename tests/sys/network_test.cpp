// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <optional>
#include <set>
#include <string>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/errno_buffer.h"

namespace {

constexpr int simulatedSocket = 12345;

struct Simulation {
  bool active = false;
  std::optional<int> socketError;
  std::optional<int> ioctlError;
  int ioctlFailure = -1;
  std::uint32_t answer = 0;  // the address that ioctl gives
  std::string calls;
  ifreq request{};           // as it came to ioctl
  int descriptorFlags = -1;  // of the socket that came to the real ioctl
};

Simulation simulation;

template <class Function>
Function* realOne(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before libc's own, also for the library.
extern "C" int socket(int family, int type, int protocol) noexcept {
  if (!simulation.active) {
    return realOne<int(int, int, int)>("socket")(family, type, protocol);
  }
  simulation.calls += "socket " + std::to_string(family) + ' ' +
                      std::to_string(type) + ' ' + std::to_string(protocol) +
                      '\n';
  if (simulation.socketError) {
    errno = *simulation.socketError;
    return -1;
  }
  return simulatedSocket;
}

extern "C" int ioctl(int descriptor, unsigned long code, ...) noexcept {
  va_list arguments;
  va_start(arguments, code);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (!simulation.active) {
    simulation.descriptorFlags = fcntl(descriptor, F_GETFD);
    return realOne<int(int, unsigned long, ...)>("ioctl")(descriptor, code,
                                                          argument);
  }
  simulation.calls +=
      "ioctl " + std::to_string(descriptor) + ' ' + std::to_string(code) + '\n';
  auto* const request = static_cast<ifreq*>(argument);
  simulation.request = *request;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(simulation.answer);
  std::memcpy(&request->ifr_addr, &address, sizeof(address));
  if (simulation.ioctlError) {
    errno = *simulation.ioctlError;
    return simulation.ioctlFailure;
  }
  return 0;
}

extern "C" int close(int descriptor) {
  if (!simulation.active || descriptor != simulatedSocket) {
    return realOne<int(int)>("close")(descriptor);
  }
  simulation.calls += "close " + std::to_string(descriptor) + '\n';
  return 0;
}

namespace {

struct QueryCase {
  const char* name;
  std::string (*query)(const char* interfaceName);
  const char* message;
  const char* code;
};

const QueryCase queryCases[] = {
    {"IpAddress", getIpAddress, "[ERROR] getIpAddress: ", "35093"},
    {"SubNetMask", getSubNetMask, "[ERROR] getSubNetMask: ", "35099"},
};

class InterfaceQuery : public testing::TestWithParam<QueryCase> {
 protected:
  InterfaceQuery() {
    simulation = Simulation();
    simulation.active = true;
  }

  ~InterfaceQuery() override { simulation = Simulation(); }

  static std::string query(const char* interfaceName) {
    return GetParam().query(interfaceName);
  }

  // Every call of a query that gets a socket.
  static std::string allCalls() {
    return "socket 2 1 0\nioctl 12345 " + std::string(GetParam().code) +
           "\nclose 12345\n";
  }
};

TEST_P(InterfaceQuery, GivesTheDottedDecimalForm) {
  const Capture capture;
  simulation.answer = 0xC0A8010A;
  EXPECT_EQ(query("eth0"), "192.168.1.10");
  simulation.answer = 0xFFFFFF00;
  EXPECT_EQ(query("eth0"), "255.255.255.0");
  simulation.answer = 0;
  EXPECT_EQ(query("eth0"), "0.0.0.0");
  simulation.answer = 0xFFFFFFFF;
  EXPECT_EQ(query("eth0"), "255.255.255.255");
  EXPECT_EQ(capture.transcript(), "");
}

TEST_P(InterfaceQuery, OpensAsksAndCloses) {
  query("eth0");
  EXPECT_EQ(simulation.calls, allCalls());
}

TEST_P(InterfaceQuery, RequestHoldsNameAndFamilyAndZeros) {
  query("eth0");
  ifreq expected;
  std::memset(&expected, 0, sizeof(expected));
  std::strcpy(expected.ifr_name, "eth0");
  expected.ifr_addr.sa_family = AF_INET;
  EXPECT_EQ(std::memcmp(&simulation.request, &expected, sizeof(expected)), 0);
}

TEST_P(InterfaceQuery, FailedRequestIsSilentAndClosesTheSocket) {
  const Capture capture;
  simulation.answer = 0x01020304;
  for (const int error : {ENODEV, EADDRNOTAVAIL, EPERM}) {
    simulation.calls.clear();
    simulation.ioctlError = error;
    EXPECT_EQ(query("eth0"), "");
    EXPECT_EQ(simulation.calls, allCalls());
  }
  EXPECT_EQ(capture.transcript(), "");
}

TEST_P(InterfaceQuery, OnlyAResultOfZeroIsASuccess) {
  simulation.answer = 0x01020304;
  simulation.ioctlError = 0;
  simulation.ioctlFailure = 1;
  EXPECT_EQ(query("eth0"), "");
}

TEST_P(InterfaceQuery, WithoutASocketThereIsOneLineAndAnEmptyText) {
  const struct {
    int error;
    const char* text;
  } failures[] = {{EMFILE, "Too many open files"},
                  {EACCES, "Permission denied"},
                  {EAFNOSUPPORT, "Address family not supported by protocol"}};

  for (const auto& failure : failures) {
    const Capture capture;
    simulation.calls.clear();
    simulation.socketError = failure.error;
    EXPECT_EQ(query("eth0"), "");
    EXPECT_EQ(capture.transcript(), std::string("<err>") + GetParam().message +
                                        failure.text + "\n<flush>");
    EXPECT_EQ(simulation.calls, "socket 2 1 0\n");
  }
}

TEST_P(InterfaceQuery, ErrorNumberIsReadBeforeAnythingIsWritten) {
  const ErrnoBuffer buffer;
  simulation.socketError = EMFILE;
  query("eth0");
  EXPECT_EQ(buffer.text,
            GetParam().message + std::string("Too many open files\n"));
}

TEST_P(InterfaceQuery, NameOf15BytesFits) {
  simulation.answer = 0x01020304;
  EXPECT_EQ(query("abcdefghijklmno"), "1.2.3.4");
  EXPECT_STREQ(simulation.request.ifr_name, "abcdefghijklmno");
}

TEST_P(InterfaceQuery, EmptyNameIsPassedOn) {
  query("");
  EXPECT_EQ(simulation.calls, allCalls());
  EXPECT_STREQ(simulation.request.ifr_name, "");
}

TEST_P(InterfaceQuery, OverlongNameIsNotLookedAtWithoutASocket) {
  const Capture capture;
  simulation.socketError = EMFILE;
  EXPECT_EQ(query("abcdefghijklmnop"), "");
}

using InterfaceQueryDeathTest = InterfaceQuery;

TEST_P(InterfaceQueryDeathTest, NameOf16BytesMeetsTheOverflowGuard) {
  EXPECT_EXIT(query("abcdefghijklmnop"), testing::KilledBySignal(SIGABRT),
              "buffer overflow detected");
}

TEST_P(InterfaceQueryDeathTest, MuchLongerNameMeetsTheOverflowGuard) {
  const std::string name(1000, 'n');
  EXPECT_EXIT(query(name.c_str()), testing::KilledBySignal(SIGABRT),
              "buffer overflow detected");
}

TEST_P(InterfaceQuery, UnknownInterfaceIsSilentOnTheSystem) {
  simulation.active = false;
  const Capture capture;
  EXPECT_EQ(query("no.such.device"), "");
  EXPECT_EQ(capture.transcript(), "");
}

// A program that is started meanwhile does not inherit the socket.
TEST_P(InterfaceQuery, SocketOfTheSystemIsCloseOnExec) {
  simulation.active = false;
  simulation.descriptorFlags = 0;
  query("no.such.device");
  EXPECT_EQ(simulation.descriptorFlags, FD_CLOEXEC);
}

INSTANTIATE_TEST_SUITE_P(Both, InterfaceQuery, testing::ValuesIn(queryCases),
                         [](const auto& tested) { return tested.param.name; });
INSTANTIATE_TEST_SUITE_P(Both, InterfaceQueryDeathTest,
                         testing::ValuesIn(queryCases),
                         [](const auto& tested) { return tested.param.name; });

std::string dotted(const sockaddr* address) {
  sockaddr_in internet{};
  std::memcpy(&internet, address, sizeof(internet));
  return inet_ntoa(internet.sin_addr);
}

// Whatever interfaces this machine has, with an address or without.
TEST(InterfacesOfThisMachine, AgreeWithTheSystem) {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) {
    GTEST_SKIP() << "the system does not list its interfaces";
  }
  std::set<std::string> seen;
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    const bool internet =
        each->ifa_addr != nullptr && each->ifa_addr->sa_family == AF_INET;
    if (internet && seen.insert(each->ifa_name).second) {
      EXPECT_EQ(getIpAddress(each->ifa_name), dotted(each->ifa_addr));
      EXPECT_EQ(getSubNetMask(each->ifa_name), dotted(each->ifa_netmask));
    }
  }
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    if (seen.insert(each->ifa_name).second) {
      const Capture capture;
      EXPECT_EQ(getIpAddress(each->ifa_name), "");
      EXPECT_EQ(getSubNetMask(each->ifa_name), "");
      EXPECT_EQ(capture.transcript(), "");
    }
  }
  freeifaddrs(list);
}

}  // namespace
