// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <array>
#include <cstring>

#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

std::string getLoginName() {
  std::array<char, 256> name{};
  if (getlogin_r(name.data(), name.size()) != 0) {
    return {};
  }
  return name.data();
}

std::string getHostName() {
  constexpr std::size_t length = 64;
  // One byte more: a name of full length may come without its NUL.
  std::array<char, length + 1> name{};
  if (gethostname(name.data(), length) == -1) {
    return {};
  }
  return name.data();
}

std::string getNodename() {
  utsname names{};
  if (uname(&names) == -1) {
    return {};
  }
  return names.nodename;
}

std::string getMachine() {
  utsname names{};
  if (uname(&names) == -1) {
    return {};
  }
  return names.machine;
}

std::uint64_t getTotalRam() {
  struct sysinfo info {};

  if (sysinfo(&info) == -1) {
    return 0;
  }
  return std::uint64_t{info.mem_unit} * info.totalram;
}

std::uint64_t getFreeRam() {
  struct sysinfo info {};

  if (sysinfo(&info) == -1) {
    return 0;
  }
  return std::uint64_t{info.mem_unit} * info.freeram;
}

const char* progname(const char* path) {
  const char* const slash = std::strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}
