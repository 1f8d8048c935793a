// SPDX-License-Identifier: MIT

#include "qorutil/version.h"

#include "qorutil/strings.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <vector>

#include <regex.h>

#include "common/stream_state.h"

namespace {

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

template <class T>
int compare(T a, T b) {
  return static_cast<int>(a > b) - static_cast<int>(a < b);
}

}  // namespace

Version Version::getVersion(const std::string& text) {
  const Pattern pattern("[[:digit:]]+([-.][[:digit:]]+){1,3}");
  std::string found = pattern.find(text.c_str());
  std::replace(found.begin(), found.end(), '-', '.');
  Version version;
  std::sscanf(found.c_str(), "%hu.%hu.%hu.%hu", &version.major, &version.minor,
              &version.release, &version.build);
  return version;
}

std::ostream& operator<<(std::ostream& os, const Version& version) {
  const StreamState restored(os);
  os.flags(std::ios_base::dec);
  return os << version.major << '.' << version.minor << '.' << version.release
            << '.' << version.build;
}

int compareVersions(const std::string& a, const std::string& b,
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

std::string getRegError(const re_pattern_buffer& preg, int errcode) {
  std::string text(regerror(errcode, &preg, nullptr, 0), '\0');
  regerror(errcode, &preg, text.data(), text.size());
  text.resize(text.find('\0'));
  return text;
}
