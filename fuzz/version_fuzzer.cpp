// SPDX-License-Identifier: MIT
//
// Any bytes as version texts: found, compared and printed as by the plain ways,
// and ordered as a version is.

#include "qorutil/version.h"

#include <sstream>

#include "app/plain_version.h"
#include "support/scene.h"
#include "target.h"

namespace {

using qorutil_internal::compareVersionsPlainly;
using qorutil_internal::getVersionPlainly;
using qorutil_internal::printPlainly;

void compareTexts(const std::string& a, const std::string& b,
                  signed char parts) {
  const int order = compareVersions(a, b, parts);
  require(order == compareVersionsPlainly(a, b, parts), "compareVersions");
  require(compareVersions(b, a, parts) == -order, "compareVersions reversed");
}

void compareOrder(const Version& a, const Version& b) {
  const auto text = [](const Version& version) {
    std::ostringstream os;
    os << version;
    return os.str();
  };
  const int order = compareVersions(text(a), text(b), -1);
  require((a < b) == (order < 0) && (a > b) == (order > 0) &&
              (a == b) == (order == 0) && (a != b) == (order != 0) &&
              (a <= b) == (order <= 0) && (a >= b) == (order >= 0),
          "comparison of versions");
  require(Version::getVersion(text(a)) == a, "a printed version");
}

}  // namespace

// Two numbers, and two texts of which the second is what the first leaves.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  Input input(data, size);
  Random random(input.byte());
  const auto parts = static_cast<signed char>(input.byte());
  const std::string a = input.text(255);
  const std::string b = input.rest();

  const Version first = Version::getVersion(a);
  const Version second = Version::getVersion(b);
  require(first == getVersionPlainly(a), "getVersion");
  require(second == getVersionPlainly(b), "getVersion");
  for (const signed char count : {parts, static_cast<signed char>(-1)}) {
    compareTexts(a, b, count);
  }
  compareOrder(first, second);
  require(difference(
              random, [&](std::ostream& os) { printPlainly(os, first); },
              [&](std::ostream& os) { os << first; })
              .empty(),
          "printer");
  return 0;
}
