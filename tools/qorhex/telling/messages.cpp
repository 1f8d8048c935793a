// SPDX-License-Identifier: MIT

#include "telling/messages.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <sstream>
#include <utility>

#include <qorutil/system.h>

std::ostream& messageAbout(const std::string& subject) {
  return std::cerr << "qorhex: " << subject << ": ";
}

bool writeOutput(const std::string& text) {
  errno = 0;
  std::cout << text << std::flush;
  if (std::cout) {
    return true;
  }
  const int error = errno;
  std::cout.clear();
  messageAbout("standard output")
      << (error != 0 ? std::strerror(error) : "cannot be written") << '\n';
  return false;
}

std::string hexText(std::uint64_t value, int digits) {
  std::string text;
  for (; digits > 0 || value != 0; --digits, value >>= 4U) {
    text.insert(text.begin(), "0123456789abcdef"[value & 0xFU]);
  }
  return "0x" + text;
}

std::string sizeText(std::uint64_t bytes) {
  std::ostringstream text;
  text << printSize(bytes);
  return text.str();
}

std::string countText(std::uint64_t count, const std::string& unit) {
  return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

Progress::Progress(bool shown, std::string subjectName, const char* stepName,
                   std::uint64_t amount)
    : enabled(shown),
      subject(std::move(subjectName)),
      step(stepName),
      total(amount) {}

void Progress::advance(std::uint64_t amount) {
  done += amount;
  if (enabled && total != 0) {
    // The text may have grown since its size was asked for.
    tell(done < total ? static_cast<unsigned>(done * 10 / total) : 10);
  }
}

void Progress::finish() {
  if (enabled) {
    tell(10);
  }
}

void Progress::tell(unsigned reached) {
  if (reached > told) {
    told = reached;
    messageAbout(subject) << step << ' ' << reached * 10 << "%\n";
  }
}
