// SPDX-License-Identifier: MIT

#include "qorutil/options.h"

#include "qorutil/exception.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <limits>

#include "common/stream_state.h"

namespace {

using qorutil_internal::StreamState;

constexpr int optionalArgument = 2;

bool hasShortForm(int shortName) {
  return shortName >= 0 &&
         shortName <= std::numeric_limits<unsigned char>::max() &&
         std::isprint(shortName) != 0;
}

// Written through the field width, which is why a count of 0 is kept out.
void printSpaces(std::ostream& os, std::size_t count) {
  if (count != 0) {
    os << std::setw(static_cast<int>(count)) << ' ';
  }
}

void printShortForm(std::ostream& os, const Options::entry_t& entry) {
  os << '-' << static_cast<char>(entry.shortName);
  if (entry.argWidth == 0) {
    return;
  }
  if (entry.argType == optionalArgument) {
    os << " [<" << entry.argName << ">]";
  } else {
    os << " <" << entry.argName << '>';
  }
}

void printLongForm(std::ostream& os, const Options::entry_t& entry) {
  os << "--" << entry.longName;
  if (entry.argWidth == 0) {
    return;
  }
  if (entry.argType == optionalArgument) {
    os << "[=<" << entry.argName << ">]";
  } else {
    os << "=<" << entry.argName << '>';
  }
}

}  // namespace

const std::int32_t Options::argumentVals[3] = {no_argument, required_argument,
                                               optional_argument};
const char Options::defaultArgHelp[2] = "?";

Options::Options() = default;

Options::Options(std::initializer_list<option_t> options) {
  for (const option_t& option : options) {
    add(option);
  }
}

Options& Options::add(const option_t& option) {
  if (option.argRequired) {
    return add(option, 1);
  }
  return add(option, option.argName != nullptr ? optionalArgument : 0);
}

Options& Options::add(const option_t& option, int argType) {
  if (argType < 0 || argType > optionalArgument) {
    throw QorException(EINVAL, "argType must be 0, 1 or 2");
  }
  entries.push_back(entry_t{option, argType, 0, 0, 0});
  changed = true;
  return *this;
}

int Options::get(int argc, char** argv) {
  if (changed) {
    update();
  }
  int index = 0;
  return getopt_long(argc, argv, shortOptions.c_str(), longOptions.data(),
                     &index);
}

void Options::update() {
  changed = true;  // until all is built: memory may run out
  shortOptions.clear();
  shortOptions.reserve(3 * entries.size());
  longOptions.clear();
  longOptions.reserve(entries.size() + 1);
  shortColumn = 0;
  longColumn = 0;
  optind = 0;

  for (entry_t& entry : entries) {
    entry.argWidth = 0;
    if (entry.argType != 0) {
      if (entry.argName == nullptr) {
        entry.argName = defaultArgHelp;
      }
      // In characters; what mbstowcs returns is taken as it comes.
      entry.argWidth = std::mbstowcs(nullptr, entry.argName, 0);
      if (entry.argType == optionalArgument) {
        entry.argWidth += 2;
      }
    }

    entry.shortWidth = 0;
    if (hasShortForm(entry.shortName)) {
      shortOptions += static_cast<char>(entry.shortName);
      shortOptions.append(static_cast<std::size_t>(entry.argType), ':');
      entry.shortWidth = entry.argWidth != 0 ? entry.argWidth + 5 : 2;
      shortColumn = std::max(shortColumn, entry.shortWidth);
    }

    entry.longWidth = 0;
    if (entry.longName != nullptr) {
      // In bytes, unlike the argument's name.
      entry.longWidth = std::strlen(entry.longName) + 2;
      if (entry.argWidth != 0) {
        entry.longWidth += entry.argWidth + 3;
      }
      longColumn = std::max(longColumn, entry.longWidth);
      longOptions.push_back({entry.longName, argumentVals[entry.argType],
                             nullptr, entry.shortName});
    }
  }
  longOptions.push_back({});
  changed = false;
}

std::ostream& Options::print(std::ostream& os) const {
  const StreamState restoredCerr(std::cerr);
  const StreamState restored(os);
  std::cerr.flags(std::ios_base::fixed);
  os.flags(std::ios_base::fixed);
  os.fill(' ');

  const bool bothColumns = shortColumn != 0 && longColumn != 0;
  const std::size_t gap = bothColumns ? 2 : 0;
  const std::size_t indent = shortColumn + longColumn + 1 + gap;
  for (const entry_t& entry : entries) {
    if (entry.shortWidth != 0) {
      printShortForm(os, entry);
    }
    if (bothColumns) {
      os << "  ";
    }
    printSpaces(os, shortColumn - entry.shortWidth);
    if (entry.longWidth != 0) {
      printLongForm(os, entry);
    }
    printSpaces(os, longColumn + 1 - entry.longWidth);
    for (const char character : entry.help) {
      os << character;
      if (character == '\n') {
        printSpaces(os, indent);
      }
    }
    os << std::endl;
  }
  return os;
}

Options::option_t optionHelp{'h', "help", nullptr, false, "This screen."};
Options::option_t optionVerbose{
    'v', "verbose", nullptr, false,
    "Increase verbosity. Can be specified more than once."};
Options::option_t optionDebug{'d', "debug", "level", false, "Set debug level."};
Options::option_t optionProgress{
    'p', "progress", nullptr, false,
    "Show progress of operation in standard format."};
Options::option_t optionDevice{'d', "device", "device", true, "Device to use."};
Options::option_t optionLoops{'l', "loops", "loops", true,
                              "Loop count (0..max), default=0=forever."};
Options::option_t optionNoDaemon{'n', "no-daemon", nullptr, false,
                                 "Run in foreground."};
