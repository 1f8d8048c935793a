// SPDX-License-Identifier: MIT

#include "telling/terminal.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

std::string_view environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

}  // namespace

std::optional<std::size_t> terminalWidth(int descriptor) {
  if (::isatty(descriptor) == 0) {
    return {};
  }
  winsize size{};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return standardWidth;
  }
  return size.ws_col;
}

bool hasColours(int descriptor) {
  return ::isatty(descriptor) != 0 && environment("NO_COLOR").empty() &&
         environment("TERM") != "dumb";
}
