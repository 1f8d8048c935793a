// SPDX-License-Identifier: MIT

#include <cstdint>
#include <sstream>
#include <string>

#include <regex.h>

#include <qorutil/version.h>

#include "client.h"

static_assert(has<std::uint16_t Version::*>(&Version::major) &&
              has<std::uint16_t Version::*>(&Version::minor) &&
              has<std::uint16_t Version::*>(&Version::release) &&
              has<std::uint16_t Version::*>(&Version::build));
static_assert(has<Version (*)(const std::string&)>(Version::getVersion));
static_assert(
    has<std::ostream& (*)(std::ostream&, const Version&)>(operator<<));
static_assert(has<int (*)(const std::string&, const std::string&, signed char)>(
    compareVersions));
static_assert(has<std::string (*)(const re_pattern_buffer&, int)>(getRegError));

static_assert(Version() == Version(0, 0, 0) && Version() != Version(0, 0, 1) &&
              Version() < Version(0, 0, 0, 1) && Version(1, 0, 0) > Version() &&
              Version() <= Version() && Version() >= Version());

bool usesVersion() {
  regex_t pattern{};
  const int error = regcomp(&pattern, "(", REG_EXTENDED);
  std::ostringstream os;
  os << Version::getVersion("fw 2.7-13 build") << '|'
     << getRegError(pattern, error);
  return os.str() == "2.7.13.0|Unmatched ( or \\(" &&
         compareVersions("1.2", "1.2.0", -1) == -1;
}
