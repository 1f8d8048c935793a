// SPDX-License-Identifier: MIT

#include "qorutil/version.h"

#include "qorutil/strings.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>
#include <vector>

#include <regex.h>

#include "app/plain_version.h"
#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"

namespace {

using qorutil_internal::getVersionPlainly;
using qorutil_internal::insertRecord;
using qorutil_internal::LineBuffer;
using qorutil_internal::printPlainly;
using qorutil_internal::takesNumbers;

// Compiled for each search and released after it: a pattern is bound to the
// locale in which it was compiled.
class Pattern {
 public:
  explicit Pattern(const char* text)
      : usable(regcomp(&compiled, text, REG_EXTENDED) == 0) {}

  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  ~Pattern() {
    if (usable) {
      regfree(&compiled);
    }
  }

  // The first match in `text`, or an empty text.
  std::string find(const char* text) const {
    regmatch_t match{};
    if (!usable || regexec(&compiled, text, 1, &match, 0) != 0) {
      return {};
    }
    return {text + match.rm_so, text + match.rm_eo};
  }

 private:
  regex_t compiled{};
  bool usable;
};

// Wherever `long` has 64 bits this is strtol cut to 32 bits; elsewhere the
// wider function keeps the values the same.
std::int32_t numberOf(const std::string& part) {
  return static_cast<std::int32_t>(std::strtoll(part.c_str(), nullptr, 10));
}

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

// In some multi-byte character sets a digit can be a part of another character;
// only the platform knows.
bool mayHideDigits(const char* text) {
  if (MB_CUR_MAX == 1) {
    return false;
  }
  while (*text != '\0' && static_cast<signed char>(*text) > 0) {
    ++text;
  }
  return *text != '\0';
}

// Reads the digits at `at` and moves behind them. Like scanf: the largest
// number stands for all that do not fit, then the low 16 bits are taken.
std::uint16_t readPart(const char*& at) {
  constexpr unsigned long largest = std::numeric_limits<unsigned long>::max();
  unsigned long value = 0;
  for (; isDigit(*at); ++at) {
    const auto digit = static_cast<unsigned long>(*at - '0');
    const bool fits = value <= (largest - digit) / 10;
    value = fits ? 10 * value + digit : largest;
  }
  return static_cast<std::uint16_t>(value);
}

bool isJoint(const char* at) {
  return (*at == '.' || *at == '-') && isDigit(at[1]);
}

// The version that begins with the part `first`, in front of `at`.
Version versionFrom(std::uint16_t first, const char* at) {
  Version version;
  version.major = first;
  for (std::uint16_t* part :
       {&version.minor, &version.release, &version.build}) {
    if (!isJoint(at)) {
      break;
    }
    *part = readPart(++at);
  }
  return version;
}

// The number of a part that `at` points to, up to the next dot. The common case
// is a few digits; all others are left to the platform.
std::int32_t numberAt(const char* at) {
  const char* const first = at;
  std::int32_t value = 0;
  for (; isDigit(*at) && at - first < 9; ++at) {
    value = 10 * value + (*at - '0');
  }
  if (at == first || isDigit(*at)) {
    return static_cast<std::int32_t>(std::strtoll(first, nullptr, 10));
  }
  return value;
}

// Moves behind the dot that ends the part at `at`; false at the last part.
bool toNextPart(const char*& at, const char* end) {
  const auto left = static_cast<std::size_t>(end - at);
  const void* const dot = std::memchr(at, '.', left);
  if (dot == nullptr) {
    return false;
  }
  at = static_cast<const char*>(dot) + 1;
  return true;
}

template <class T>
int compare(T a, T b) {
  return static_cast<int>(a > b) - static_cast<int>(a < b);
}

}  // namespace

namespace qorutil_internal {

Version getVersionPlainly(const std::string& text) {
  const Pattern pattern("[[:digit:]]+([-.][[:digit:]]+){1,3}");
  std::string found = pattern.find(text.c_str());
  std::replace(found.begin(), found.end(), '-', '.');
  Version version;
  std::sscanf(found.c_str(), "%hu.%hu.%hu.%hu", &version.major, &version.minor,
              &version.release, &version.build);
  return version;
}

std::ostream& printPlainly(std::ostream& os, const Version& version) {
  const StreamState restored(os);
  os.flags(std::ios_base::dec);
  return os << version.major << '.' << version.minor << '.' << version.release
            << '.' << version.build;
}

int compareVersionsPlainly(const std::string& a, const std::string& b,
                           signed char parts) {
  const std::vector<std::string> partsA = split(a, '.');
  const std::vector<std::string> partsB = split(b, '.');
  const std::size_t common = std::min(partsA.size(), partsB.size());
  const std::size_t count = static_cast<unsigned char>(parts);
  for (std::size_t i = 0; i < common; ++i) {
    const int order = compare(numberOf(partsA[i]), numberOf(partsB[i]));
    if (order != 0) {
      return order;
    }
    if (parts != -1 && i + 1 >= count) {
      return 0;
    }
  }
  return compare(partsA.size(), partsB.size());
}

}  // namespace qorutil_internal

Version Version::getVersion(const std::string& text) {
  const char* at = text.c_str();
  if (mayHideDigits(at)) {
    return getVersionPlainly(text);
  }
  while (*at != '\0') {
    if (!isDigit(*at)) {
      ++at;
      continue;
    }
    const std::uint16_t first = readPart(at);
    if (isJoint(at)) {
      return versionFrom(first, at);
    }
  }
  return {};
}

std::ostream& operator<<(std::ostream& os, const Version& version) {
  if (!takesNumbers(os)) {
    return printPlainly(os, version);
  }
  LineBuffer line;
  line.decimal(version.major).put('.').decimal(version.minor).put('.');
  line.decimal(version.release).put('.').decimal(version.build);
  insertRecord(os, line.view(), [&version](std::ostream& stream) {
    printPlainly(stream, version);
  });
  return os;
}

// The same without a list of the parts.
int compareVersions(const std::string& a, const std::string& b,
                    signed char parts) {
  const char* partA = a.c_str();
  const char* partB = b.c_str();
  const std::size_t count = static_cast<unsigned char>(parts);
  for (std::size_t compared = 1;; ++compared) {
    const int order = compare(numberAt(partA), numberAt(partB));
    if (order != 0) {
      return order;
    }
    if (parts != -1 && compared >= count) {
      return 0;
    }
    const bool moreA = toNextPart(partA, a.c_str() + a.size());
    const bool moreB = toNextPart(partB, b.c_str() + b.size());
    if (!moreA || !moreB) {
      return compare(moreA, moreB);
    }
  }
}

std::string getRegError(const re_pattern_buffer& preg, int errcode) {
  std::string text(regerror(errcode, &preg, nullptr, 0), '\0');
  regerror(errcode, &preg, text.data(), text.size());
  text.resize(text.find('\0'));
  return text;
}
