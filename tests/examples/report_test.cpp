// SPDX-License-Identifier: MIT
//
// The example that tells about the machine, held against what the system says.

#include <algorithm>
#include <ctime>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/process.h"

namespace {

using testing::MatchesRegex;

std::string textOf(const sockaddr* address) {
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr,
            text, sizeof text);
  return text;
}

// Every row that an interface may have: one per IPv4 address, or "none".
std::set<std::string> interfaceRows() {
  std::set<std::string> rows;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) == -1) {
    ADD_FAILURE() << "getifaddrs fails";
    return rows;
  }
  std::set<std::string> withAddress;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
      withAddress.insert(entry->ifa_name);
      rows.insert(std::string("interface   ") + entry->ifa_name + ' ' +
                  textOf(entry->ifa_addr) + " mask " +
                  textOf(entry->ifa_netmask));
    }
  }
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (withAddress.count(entry->ifa_name) == 0) {
      rows.insert(std::string("interface   ") + entry->ifa_name + " none");
    }
  }
  freeifaddrs(list);
  return rows;
}

std::size_t interfaceCount() {
  const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> list(
      if_nameindex(), if_freenameindex);
  std::size_t count = 0;
  while (list && list.get()[count].if_index != 0) {
    ++count;
  }
  return count;
}

// The size in the largest unit that is not above it, as a stream writes it.
std::string readableSize(double bytes, const char* space) {
  const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  for (; bytes >= 1024 && unit < 4; ++unit) {
    bytes /= 1024;
  }
  std::ostringstream os;
  os << bytes << space << units[unit];
  return os.str();
}

std::vector<std::string> reportedLines() {
  const processResult_t result = runProcess({REPORT_PROGRAM}, "/");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, testing::EndsWith("\n"));
  std::istringstream text(result.out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(Report, SaysWhatTheSystemSays) {
  utsname names{};
  ASSERT_EQ(uname(&names), 0);
  char login[256] = "";
  if (getlogin_r(login, sizeof login) != 0 || login[0] == '\0') {
    std::snprintf(login, sizeof login, "none");
  }

  struct sysinfo info {};

  ASSERT_EQ(sysinfo(&info), 0);
  const double ram =
      static_cast<double>(info.totalram) * static_cast<double>(info.mem_unit);

  const std::vector<std::string> lines = reportedLines();
  ASSERT_GE(lines.size(), 7U);
  EXPECT_THAT(
      lines[0],
      MatchesRegex("time        [A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] "
                   "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}"));
  EXPECT_EQ(lines[1], std::string("host        ") + names.nodename);
  EXPECT_EQ(lines[2], std::string("node        ") + names.nodename);
  EXPECT_EQ(lines[3], std::string("machine     ") + names.machine);
  EXPECT_EQ(lines[4], std::string("user        ") + login);

  const std::string size = "[0-9.]+(B|KiB|MiB|GiB|TiB)";
  EXPECT_THAT(lines[5], MatchesRegex("memory      " + readableSize(ram, " ") +
                                     ", [0-9.]+ (B|KiB|MiB|GiB|TiB) free"));
  EXPECT_THAT(
      lines[6],
      MatchesRegex("kernel      up=[0-9]+ load=[0-9]+/[0-9]+/[0-9]+ totalram=" +
                   readableSize(ram, "") + " freeram=" + size +
                   " sharedram=" + size + " bufferram=" + size +
                   " totalswap=" + size + " freeswap=" + size +
                   " procs=[0-9]+ totalhigh=" + size + " freehigh=" + size +
                   " mem_unit=" + std::to_string(info.mem_unit)));
}

TEST(Report, HasARowForEveryInterface) {
  std::vector<std::string> lines = reportedLines();
  ASSERT_GE(lines.size(), 7U);
  lines.erase(lines.begin(), lines.begin() + 7);
  EXPECT_EQ(lines.size(), interfaceCount());
  EXPECT_THAT(interfaceRows(), testing::IsSupersetOf(lines));
}

}  // namespace
