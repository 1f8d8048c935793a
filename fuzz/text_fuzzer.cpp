// SPDX-License-Identifier: MIT
//
// Any bytes as a text: the fast ways of the text functions against the plain
// ones.

#include "qorutil/formatting.h"
#include "qorutil/strings.h"
#include "qorutil/version.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "app/plain_version.h"
#include "text/plain_text.h"

namespace {

using qorutil_internal::compareVersionsPlainly;
using qorutil_internal::getEscapedPlainly;
using qorutil_internal::getVersionPlainly;
using qorutil_internal::hexdumpPlainly;
using qorutil_internal::printPrintablePlainly;

void require(bool condition, const char* text) {
  if (!condition) {
    std::fprintf(stderr, "differs: %s\n", text);
    std::abort();
  }
}

void compareDumps(const std::string& text, std::uint64_t bytesPerLine,
                  hexdumpPrefix_t mode) {
  const auto* const first = reinterpret_cast<const unsigned char*>(text.data());
  std::ostringstream actual;
  std::ostringstream expected;
  hexdump(actual, first, first + text.size(), "x", bytesPerLine, mode, true);
  hexdumpPlainly(expected, first, first + text.size(), "x", bytesPerLine, mode,
                 true);
  require(actual.str() == expected.str(), "hexdump");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  require(getEscaped(text) == getEscapedPlainly(text), "getEscaped");
  require(Version::getVersion(text) == getVersionPlainly(text), "getVersion");

  // The first half against the second.
  const std::string front = text.substr(0, size / 2);
  const std::string back = text.substr(size / 2);
  for (const int parts : {-2, -1, 0, 1, 2, 3}) {
    const auto count = static_cast<signed char>(parts);
    require(compareVersions(front, back, count) ==
                compareVersionsPlainly(front, back, count),
            "compareVersions");
  }

  std::ostringstream printable;
  std::ostringstream expected;
  printPrintable(printable, text);
  printPrintablePlainly(expected, text);
  require(printable.str() == expected.str(), "printPrintable");

  for (const hexdumpPrefix_t mode :
       {HEXDUMP_NONE, HEXDUMP_ADDRESS, HEXDUMP_OFFSET}) {
    compareDumps(text, 1 + size % 40, mode);
  }
  return 0;
}
