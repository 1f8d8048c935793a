// SPDX-License-Identifier: MIT

// Tells about the machine: names, memory, network interfaces.

#include <cerrno>
#include <exception>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <net/if.h>
#include <sys/sysinfo.h>

#include <qorutil/exception.h>
#include <qorutil/system.h>
#include <qorutil/time.h>

namespace {

std::ostream& row(const char* title) {
  return std::cout << std::left << std::setw(12) << title;
}

std::string orNone(const std::string& text) {
  return text.empty() ? "none" : text;
}

std::vector<std::string> interfaceNames() {
  const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> list(
      if_nameindex(), if_freenameindex);
  if (!list) {
    throw QorException(errno, "if_nameindex");
  }
  std::vector<std::string> names;
  for (const struct if_nameindex* entry = list.get(); entry->if_index != 0;
       ++entry) {
    names.emplace_back(entry->if_name);
  }
  return names;
}

void printHost() {
  row("time") << getAscTime() << '\n';
  row("host") << orNone(getHostName()) << '\n';
  row("node") << orNone(getNodename()) << '\n';
  row("machine") << orNone(getMachine()) << '\n';
  row("user") << orNone(getLoginName()) << '\n';
}

void printMemory() {
  row("memory") << std::internal << printSize(getTotalRam()) << ", "
                << printSize(getFreeRam()) << " free\n";

  struct sysinfo info {};

  if (sysinfo(&info) == -1) {
    throw QorException(errno, "sysinfo");
  }
  row("kernel") << info << '\n';
}

void printInterfaces() {
  for (const std::string& name : interfaceNames()) {
    const std::string address = getIpAddress(name.c_str());
    row("interface") << name << ' ' << orNone(address);
    if (!address.empty()) {
      std::cout << " mask " << getSubNetMask(name.c_str());
    }
    std::cout << '\n';
  }
}

}  // namespace

int main(int /*argc*/, char** argv) {
  try {
    printHost();
    printMemory();
    printInterfaces();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << progname(argv[0]) << ": " << error.what() << '\n';
    return 1;
  }
}
