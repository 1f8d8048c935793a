// SPDX-License-Identifier: MIT
//
// Holds the fast ways against the plain ones: random values on random streams,
// of which everything is compared that a caller can see.

#include "app/plain_version.h"

#include "qorutil/version.h"

#include <string>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/scene.h"
#include "support/utf8_locale.h"

namespace {

using qorutil_internal::compareVersionsPlainly;
using qorutil_internal::getVersionPlainly;
using qorutil_internal::printPlainly;

constexpr int rounds = 4000;

TEST(PlainVersion, Versions) {
  Random random(14);
  for (int round = 0; round < rounds; ++round) {
    const auto part = [&] {
      return static_cast<std::uint16_t>(anyNumber(random));
    };
    const Version version(part(), part(), part(), part());
    ASSERT_EQ(difference(
                  random, [&](std::ostream& os) { printPlainly(os, version); },
                  [&](std::ostream& os) { os << version; }),
              "");
  }
}

std::string versionText(Random& random) {
  constexpr char alphabet[] = "0123456789.-.-.-.- +x\0\xff\xc3\xa4\x81";
  std::string text;
  for (std::size_t left = below(random, 24); left > 0; --left) {
    const bool digits = rarely(random);
    text += digits ? std::string(below(random, 24), '9')
                   : std::string(1, alphabet[below(random, sizeof(alphabet))]);
  }
  return text;
}

void compareSearches(std::uint64_t seed) {
  Random random(seed);
  for (int round = 0; round < rounds; ++round) {
    const std::string text = versionText(random);
    ASSERT_EQ(Version::getVersion(text), getVersionPlainly(text)) << text;
  }
}

TEST(PlainVersion, VersionsInTexts) {
  compareSearches(15);
}

TEST(PlainVersion, VersionsInUtf8) {
  const Utf8Locale locale;
  if (locale.isMissing()) {
    GTEST_SKIP() << "the C library has no C.UTF-8";
  }
  compareSearches(16);
}

TEST(PlainVersion, ComparisonOfVersions) {
  Random random(17);
  for (int round = 0; round < 5 * rounds; ++round) {
    const std::string a = versionText(random);
    const std::string b =
        below(random, 2) == 0
            ? versionText(random)
            : a.substr(0, below(random, a.size() + 1)) + versionText(random);
    const auto parts = static_cast<signed char>(below(random, 8) - 2);
    ASSERT_EQ(compareVersions(a, b, parts), compareVersionsPlainly(a, b, parts))
        << a << " and " << b;
  }
}

TEST(PlainVersion, NoticesABufferThatFails) {
  const Version version(1, 2, 3, 4);
  EXPECT_TRUE(
      noticesFailure([&](std::ostream& os) { printPlainly(os, version); }));
  EXPECT_TRUE(noticesFailure([&](std::ostream& os) { os << version; }));
}

TEST(PlainVersion, DoesWithoutTheHeap) {
  const std::string text = "firmware of a long name 1.2.3.4";
  const FailingAllocation first(0);
  Version::getVersion(text);
  compareVersions(text, text, -1);
  EXPECT_FALSE(first.happened());
}

}  // namespace
