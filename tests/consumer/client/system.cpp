// SPDX-License-Identifier: MIT

#include <csignal>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <qorutil/system.h>

#include "client.h"

namespace {

using Text = std::string (*)();
using TextOfName = std::string (*)(const char*);
using Size = std::uint64_t (*)();

template <class T>
using Printer = std::ostream& (*)(std::ostream&, const T&);

}  // namespace

static_assert(has<Text>(getLoginName) && has<Text>(getHostName) &&
              has<Text>(getNodename) && has<Text>(getMachine));
static_assert(has<TextOfName>(getIpAddress) && has<TextOfName>(getSubNetMask));
static_assert(has<Size>(getTotalRam) && has<Size>(getFreeRam));
static_assert(has<const char* (*)(const char*)>(progname));
static_assert(has<Printer<struct sysinfo>>(operator<<));
static_assert(has<Printer<mq_attr>>(operator<<));
static_assert(has<Printer<__sigset_t>>(operator<<));
static_assert(has<Printer<can_frame>>(operator<<));
static_assert(has<Printer<printSize>>(operator<<));
static_assert(has<std::uint64_t printSize::*>(&printSize::bytes));
static_assert(
    has<std::ostream& (printSize::*)(std::ostream&) const>(&printSize::print));
static_assert(!std::is_convertible_v<std::uint64_t, printSize>);

namespace {

bool asks() {
  utsname names{};
  char login[256] = "";
  char host[64] = "";
  uname(&names);
  gethostname(host, sizeof host);
  if (getlogin_r(login, sizeof login) != 0) {
    login[0] = '\0';
  }
  return getNodename() == names.nodename && getMachine() == names.machine &&
         getHostName() == host && getLoginName() == login &&
         getTotalRam() > getFreeRam() && getFreeRam() > 0 &&
         getIpAddress("lo").empty() == getSubNetMask("lo").empty() &&
         std::string(progname("/usr/bin/client")) == "client";
}

bool prints() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, 2);
  can_frame frame{};
  frame.can_id = 0x123;

  struct sysinfo info {};

  std::ostringstream os;
  os << signals << frame << mq_attr{} << printSize(1536) << '|' << info;
  printSize(1).print(os << '|');
  return os.str() ==
         "[2]00000123  DATA  0 (0,0,0,0)1.5KiB|up=0 load=0/0/0 totalram=0B "
         "freeram=0B sharedram=0B bufferram=0B totalswap=0B freeswap=0B "
         "procs=0 totalhigh=0B freehigh=0B mem_unit=0|1B";
}

}  // namespace

bool usesSystem() {
  return asks() && prints();
}
