// SPDX-License-Identifier: MIT

// These two stay libc's own, whatever the package puts on the include path.
#include <strings.h>
#include <time.h>

#if defined(QORUTIL_STRINGS_H) || defined(QORUTIL_TIME_H)
#error "a header of the library stands in for one of libc"
#endif

#include <cstdio>

#include <qorutil/qorutil.h>

#include "client.h"

namespace {

struct Family {
  const char* name;
  bool (*works)();
};

bool usesLibc() {
  return strcasecmp("ABC", "abc") == 0 && time(nullptr) > 0;
}

constexpr Family families[] = {
    {"libc", usesLibc},
    {"conversion.h", usesConversion},
    {"exception.h", usesException},
    {"formatting.h", usesFormatting},
    {"intelhex.h", usesIntelHex},
    {"options.h", usesOptions},
    {"scheduler.h", usesScheduler},
    {"strings.h", usesStrings},
    {"system.h", usesSystem},
    {"time.h", usesTime},
    {"version.h", usesVersion},
};

}  // namespace

int main() {
  int failed = 0;
  for (const Family& family : families) {
    const bool works = family.works();
    std::printf("%s: %s\n", family.name, works ? "works" : "FAILED");
    failed += works ? 0 : 1;
  }
  return failed;
}
