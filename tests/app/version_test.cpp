// SPDX-License-Identifier: MIT

#include "qorutil/version.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <dlfcn.h>
#include <regex.h>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/odd_stream.h"
#include "support/printed.h"
#include "support/utf8_locale.h"

namespace {

int compiledPatterns = 0;
int releasedPatterns = 0;
bool compilingFails = false;

}  // namespace

// These stand before libc's own, also for the library.
extern "C" int regcomp(regex_t* preg, const char* pattern, int flags) {
  static const auto real =
      reinterpret_cast<decltype(&regcomp)>(dlsym(RTLD_NEXT, "regcomp"));
  if (compilingFails) {
    return REG_ESPACE;
  }
  ++compiledPatterns;
  return real(preg, pattern, flags);
}

extern "C" void regfree(regex_t* preg) {
  static const auto real =
      reinterpret_cast<decltype(&regfree)>(dlsym(RTLD_NEXT, "regfree"));
  ++releasedPatterns;
  real(preg);
}

namespace {

struct FindCase {
  const char* name;
  const char* text;
  const char* version;
};

constexpr FindCase findCases[] = {
    {"EmptyText", "", "0.0.0.0"},
    {"TextWithoutNumbers", "abc", "0.0.0.0"},
    {"LoneNumberIsNoVersion", "7", "0.0.0.0"},
    {"LoneNumberInWordsIsNoVersion", "version 42", "0.0.0.0"},
    {"TrailingDotIsNoVersion", "7.", "0.0.0.0"},
    {"LeadingDotIsNoVersion", ".7", "0.0.0.0"},
    {"TwoDotsAreNoVersion", "1..2", "0.0.0.0"},
    {"OtherSeparatorsAreNoVersion", "1,2_3/4", "0.0.0.0"},
    {"TwoParts", "1.2", "1.2.0.0"},
    {"ThreeParts", "1.2.3", "1.2.3.0"},
    {"FourParts", "1.2.3.4", "1.2.3.4"},
    {"FifthPartIsLeft", "1.2.3.4.5", "1.2.3.4"},
    {"FifthPartOfLongNumbersIsLeft", "10.20.30.40.50", "10.20.30.40"},
    {"DashJoins", "1-2", "1.2.0.0"},
    {"DashesAndDotsMix", "1-2.3-4", "1.2.3.4"},
    {"DashIsNoSign", "-1.2", "1.2.0.0"},
    {"InsideWords", "fw 2.7-13 build", "2.7.13.0"},
    {"InsideAWord", "x3.4y", "3.4.0.0"},
    {"EndsBeforeATrailingDot", "3.4.", "3.4.0.0"},
    {"EndsBeforeAnEmptyPart", "3.4..5", "3.4.0.0"},
    {"FirstOfTwoWins", "1.2 then 3.4.5.6", "1.2.0.0"},
    {"LoneNumberBeforeIsPassed", "8 9.1", "9.1.0.0"},
    {"AfterALineBreak", "no\n5.6", "5.6.0.0"},
    {"LeadingZerosCountForNothing", "007.08", "7.8.0.0"},
    {"LargestParts", "65535.65535.65535.65535", "65535.65535.65535.65535"},
    {"PartAbove65535IsReduced", "70000.1", "4464.1.0.0"},
    {"EveryPartIsReduced", "65536.65537.65538.131075", "0.1.2.3"},
};

class GetVersion : public testing::TestWithParam<FindCase> {};

TEST_P(GetVersion, FindsTheFirst) {
  EXPECT_EQ(printedText(Version::getVersion(GetParam().text)),
            GetParam().version);
}

INSTANTIATE_TEST_SUITE_P(Table, GetVersion, testing::ValuesIn(findCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(GetVersionText, EndsAtItsFirstNulByte) {
  EXPECT_EQ(printedText(Version::getVersion(std::string("x\0 1.2", 6))),
            "0.0.0.0");
  EXPECT_EQ(printedText(Version::getVersion(std::string("1.2\0.3", 6))),
            "1.2.0.0");
}

TEST(GetVersionText, PartOfManyDigitsIsStoredAsSscanfStoresIt) {
  const std::string digits(1000, '9');
  unsigned short expected = 0;
  ASSERT_EQ(std::sscanf(digits.c_str(), "%hu", &expected), 1);
  EXPECT_EQ(Version::getVersion(digits + ".5"), Version(expected, 5, 0));
}

TEST(GetVersionText, EveryNumberIsReducedModulo65536) {
  for (unsigned number = 0; number < 3 * 65536; number += 7) {
    const auto part = static_cast<std::uint16_t>(number);
    ASSERT_EQ(Version::getVersion(std::to_string(number) + "-1"),
              Version(part, 1, 0));
  }
}

// What the pattern says, without a pattern: the first digit run that a joined
// one follows, and up to three of those.
Version plainVersion(const std::string& text) {
  const auto digit = [&text](std::size_t pos) {
    return pos < text.size() && text[pos] >= '0' && text[pos] <= '9';
  };
  for (std::size_t start = 0; start < text.size(); ++start) {
    std::vector<unsigned> parts;
    std::size_t pos = start;
    while (parts.size() < 4 && digit(pos)) {
      unsigned value = 0;
      for (; digit(pos); ++pos) {
        value = value * 10 + static_cast<unsigned>(text[pos] - '0');
      }
      parts.push_back(value % 65536);
      if (pos < text.size() && (text[pos] == '.' || text[pos] == '-')) {
        ++pos;
      } else {
        break;
      }
    }
    if (parts.size() >= 2) {
      parts.resize(4);
      const auto part = [&parts](std::size_t i) {
        return static_cast<std::uint16_t>(parts[i]);
      };
      return {part(0), part(1), part(2), part(3)};
    }
  }
  return {};
}

TEST(GetVersionText, RandomTextsGiveWhatAPlainScanFinds) {
  constexpr char alphabet[] = "0129.-x ";
  std::mt19937 random(25);
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (auto left = random() % 16; left > 0; --left) {
      text += alphabet[random() % 8];
    }
    ASSERT_EQ(printedText(Version::getVersion(text)),
              printedText(plainVersion(text)))
        << text;
  }
}

// Texts that only the platform can read: multi-byte characters.
class GetVersionPattern : public testing::Test {
 protected:
  GetVersionPattern() {
    compiledPatterns = 0;
    releasedPatterns = 0;
  }

  ~GetVersionPattern() override { compilingFails = false; }

  void SetUp() override {
    if (locale.isMissing()) {
      GTEST_SKIP() << "the C library has no C.UTF-8";
    }
  }

 private:
  const Utf8Locale locale;
};

TEST_F(GetVersionPattern, IsReleasedAfterEachSearch) {
  EXPECT_EQ(printedText(Version::getVersion("\xC3\xA4 1.2")), "1.2.0.0");
  EXPECT_EQ(printedText(Version::getVersion("\xC3\xA4")), "0.0.0.0");
  EXPECT_EQ(compiledPatterns, 2);
  EXPECT_EQ(releasedPatterns, 2);
}

TEST_F(GetVersionPattern, IsNotNeededForAsciiTexts) {
  EXPECT_EQ(printedText(Version::getVersion("fw 1.2")), "1.2.0.0");
  EXPECT_EQ(compiledPatterns, 0);
}

TEST_F(GetVersionPattern, WithoutAPatternThereIsNoVersion) {
  const Capture capture;
  compilingFails = true;
  const Version found = Version::getVersion("\xC3\xA4 1.2");
  EXPECT_EQ(printedText(found), "0.0.0.0");
  EXPECT_EQ(capture.transcript(), "");
}

TEST(VersionRecord, StartsAsAllZeros) {
  constexpr Version version;
  static_assert(version.major == 0 && version.minor == 0);
  static_assert(version.release == 0 && version.build == 0);
  EXPECT_EQ(printedText(version), "0.0.0.0");
}

TEST(VersionRecord, HoldsFourUnsigned16BitNumbersInOrder) {
  static_assert(std::is_same_v<decltype(Version::major), std::uint16_t>);
  static_assert(std::is_same_v<decltype(Version::minor), std::uint16_t>);
  static_assert(std::is_same_v<decltype(Version::release), std::uint16_t>);
  static_assert(std::is_same_v<decltype(Version::build), std::uint16_t>);
  static_assert(sizeof(Version) == 8);
  EXPECT_EQ(printedText(Version(1, 2, 3, 4)), "1.2.3.4");
}

TEST(VersionRecord, BuildMayBeLeftOut) {
  EXPECT_EQ(Version(1, 2, 3), Version(1, 2, 3, 0));
}

// All versions of parts 0 and 1, in rising order.
TEST(VersionComparison, GoesByTheFourPartsInOrder) {
  std::vector<Version> versions;
  for (unsigned bits = 0; bits < 16; ++bits) {
    const auto part = [bits](unsigned bit) {
      return static_cast<std::uint16_t>(bits >> bit & 1);
    };
    versions.emplace_back(part(3), part(2), part(1), part(0));
  }
  for (std::size_t i = 0; i < versions.size(); ++i) {
    for (std::size_t j = 0; j < versions.size(); ++j) {
      EXPECT_EQ(versions[i] == versions[j], i == j);
      EXPECT_EQ(versions[i] != versions[j], i != j);
      EXPECT_EQ(versions[i] < versions[j], i < j);
      EXPECT_EQ(versions[i] > versions[j], i > j);
      EXPECT_EQ(versions[i] <= versions[j], i <= j);
      EXPECT_EQ(versions[i] >= versions[j], i >= j);
    }
  }
}

TEST(VersionComparison, IsNumericAndConstant) {
  static_assert(Version(1, 9, 0) < Version(1, 10, 0));
  static_assert(Version(1, 0, 0, 65535) < Version(1, 0, 1));
  static_assert(Version(65535, 0, 0) > Version(1, 65535, 65535, 65535));
}

TEST(VersionPrinter, WritesAlwaysFourParts) {
  EXPECT_EQ(printedText(Version(1, 2, 0)), "1.2.0.0");
}

TEST(VersionPrinter, WritesDecimalOnAHexadecimalStreamAndLeavesItSo) {
  std::ostringstream os;
  os << std::hex << std::showbase << Version(16, 255, 10) << ' ' << 255;
  EXPECT_EQ(os.str(), "16.255.10.0 0xff");
}

TEST(VersionPrinter, PendingWidthAndFillApplyToTheFirstPartAlone) {
  std::ostringstream os;
  os << std::setfill('*') << std::left << std::setw(4) << Version(1, 2, 3);
  EXPECT_EQ(os.str(), "***1.2.3.0");
}

TEST(VersionPrinter, LeavesFlagsAndFillOfAnOddStream) {
  EXPECT_EQ(printedOddly(Version(10, 11, 12, 13)), "10.11.12.13");
}

TEST(VersionPrinter, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(Version(1, 20, 3, 4)));
}

struct CompareCase {
  const char* name;
  const char* a;
  const char* b;
  signed char parts;
  int order;
};

constexpr CompareCase compareCases[] = {
    {"Numeric", "2.0", "10.0", -1, -1},
    {"NumericInTheSecondPart", "1.10", "1.9", -1, 1},
    {"FewerPartsAreLower", "1.2", "1.2.0", -1, -1},
    {"MorePartsAreHigher", "1.2.0", "1.2", -1, 1},
    {"EqualAsFarAsCompared", "1.2", "1.2.0", 2, 0},
    {"CountDecidesWhenTheShorterIsExhausted", "1.2", "1.2.0", 3, -1},
    {"CountDecidesTheOtherWayToo", "1.2.0", "1.2", 3, 1},
    {"MorePartsAskedThanThereAre", "1.2", "1.2", 100, 0},
    {"AllPartsEqual", "1.2.3", "1.2.3", -1, 0},
    {"DifferenceBehindTheCount", "1.2.3", "1.2.4", 2, 0},
    {"DifferenceAtTheCount", "1.2.3", "1.2.4", 3, -1},
    {"DifferenceWithAllParts", "1.2.3", "1.2.4", -1, -1},
    {"ZeroPartsCompareOne", "1.2.3", "1.2.4", 0, 0},
    {"ZeroPartsSeeTheFirstPart", "2.2", "1.2", 0, 1},
    {"ZeroPartsOfUnequalCounts", "1", "1.0", 0, 0},
    {"OnePart", "1.2", "1.3", 1, 0},
    {"OnePartOfUnequalCounts", "1", "1.0", 1, 0},
    {"TwoEmptyTexts", "", "", -1, 0},
    {"EmptyTextIsZero", "", "0", -1, 0},
    {"ZeroIsEmptyText", "0", "", -1, 0},
    {"EmptyTextIsBelowOne", "", "1", -1, -1},
    {"LettersAreZero", "abc", "0", -1, 0},
    {"ConversionStopsAtALetter", "1.2a", "1.2", -1, 0},
    {"LeadingBlanksCount", " \t\n1", "1", -1, 0},
    {"PlusSignCounts", "+1", "1", -1, 0},
    {"MinusSignCounts", "-1", "0", -1, -1},
    {"SignsAreComparedAsNumbers", "-2", "-1", -1, -1},
    {"LoneSignIsZero", "-", "0", -1, 0},
    {"LeadingZerosCountForNothing", "1.010", "1.10", -1, 0},
    {"NoHexadecimal", "0x10", "0", -1, 0},
    {"TrailingDotIsAPartMore", "1.", "1", -1, 1},
    {"EmptyPartIsZero", "1..2", "1.0.2", -1, 0},
    {"DashIsNoSeparator", "1-2", "1-3", -1, 0},
    {"LowBitsAreSigned", "2147483648", "0", -1, -1},
    {"LargestPositivePart", "2147483647", "0", -1, 1},
    {"HighBitsAreLost", "4294967296", "0", -1, 0},
    {"LowBitsOfABigNumber", "4294967297", "1", -1, 0},
    {"LowBitsOfABigNegativeNumber", "-4294967295", "1", -1, 0},
    {"SaturatedNumberIsMinusOne", "99999999999999999999", "-1", -1, 0},
    {"LargestNumberIsMinusOne", "9223372036854775807", "-1", -1, 0},
    {"SaturatedNegativeNumberIsZero", "-99999999999999999999", "0", -1, 0},
    {"BothSaturate", "99999999999999999999", "88888888888888888888", -1, 0},
};

class CompareVersions : public testing::TestWithParam<CompareCase> {};

TEST_P(CompareVersions, GivesTheOrder) {
  const CompareCase& tested = GetParam();
  EXPECT_EQ(compareVersions(tested.a, tested.b, tested.parts), tested.order);
  EXPECT_EQ(compareVersions(tested.b, tested.a, tested.parts), -tested.order);
}

INSTANTIATE_TEST_SUITE_P(Table, CompareVersions,
                         testing::ValuesIn(compareCases),
                         [](const auto& tested) { return tested.param.name; });

// 300 parts of 1, of which the one at `position` is 0.
std::string partsWithZeroAt(int position) {
  std::string text;
  for (int i = 0; i < 300; ++i) {
    text += i == 0 ? "" : ".";
    text += i == position ? '0' : '1';
  }
  return text;
}

TEST(CompareVersionsParts, EveryCountComparesThatManyParts) {
  for (int parts = -128; parts < 128; ++parts) {
    const auto asked = static_cast<signed char>(parts);
    int count = parts < 0 ? 256 + parts : std::max(parts, 1);
    if (parts == -1) {
      count = 300;
    }
    const std::string last = partsWithZeroAt(count - 1);
    const std::string behind = partsWithZeroAt(count);
    const std::string none = partsWithZeroAt(-1);
    EXPECT_EQ(compareVersions(last, none, asked), -1) << parts;
    EXPECT_EQ(compareVersions(none, last, asked), 1) << parts;
    EXPECT_EQ(compareVersions(behind, none, asked), 0) << parts;
    EXPECT_EQ(compareVersions(none + ".1", none, asked), parts == -1 ? 1 : 0);
  }
}

TEST(CompareVersionsParts, NulByteEndsTheNumberOfAPartOnly) {
  const std::string a("1\0002.3", 5);
  EXPECT_EQ(compareVersions(a, "1.3", -1), 0);
  EXPECT_EQ(compareVersions(a, "1.2", -1), 1);
}

TEST(RegError, IsTheTextOfThePlatform) {
  for (int errcode = REG_NOMATCH; errcode <= REG_ERPAREN; ++errcode) {
    regex_t preg{};
    char expected[256] = "";
    regerror(errcode, &preg, expected, sizeof(expected));
    EXPECT_EQ(getRegError(preg, errcode), expected);
  }
}

TEST(RegError, OfAPatternThatDoesNotCompile) {
  regex_t preg{};
  const int errcode = regcomp(&preg, "(", REG_EXTENDED);
  EXPECT_EQ(errcode, REG_EPAREN);
  EXPECT_EQ(getRegError(preg, errcode), "Unmatched ( or \\(");
}

TEST(RegError, OfASearchThatFindsNothing) {
  regex_t preg{};
  ASSERT_EQ(regcomp(&preg, "a", REG_EXTENDED), 0);
  const int errcode = regexec(&preg, "b", 0, nullptr, 0);
  EXPECT_EQ(getRegError(preg, errcode), "No match");
  EXPECT_EQ(getRegError(preg, 0), "Success");
  regfree(&preg);
}

}  // namespace
