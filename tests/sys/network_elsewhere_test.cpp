// SPDX-License-Identifier: MIT

// The interface queries as they are compiled where the C library is not glibc.
// Everything that they include comes first and keeps its glibc form.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#undef __GLIBC__
#include "../src/sys/network.cpp"

namespace {

TEST(InterfaceQueryElsewhere, NameOf15BytesFits) {
  EXPECT_EQ(getIpAddress("no.such.device."), "");
}

TEST(InterfaceQueryElsewhereDeathTest, NameOf16BytesEndsTheProcess) {
  EXPECT_EXIT(getIpAddress("no.such.device.."),
              testing::KilledBySignal(SIGABRT),
              "^\\*\\*\\* buffer overflow detected \\*\\*\\*: terminated\n"
              "(qemu: [^\n]*\n)?$");
}

TEST(InterfaceQueryElsewhereDeathTest, MuchLongerNameEndsTheProcess) {
  EXPECT_EXIT(getSubNetMask(std::string(1000, 'n').c_str()),
              testing::KilledBySignal(SIGABRT), "buffer overflow detected");
}

}  // namespace
