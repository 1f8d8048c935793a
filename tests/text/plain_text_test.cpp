// SPDX-License-Identifier: MIT
//
// Holds the fast ways against the plain ones: random values on random streams,
// of which everything is compared that a caller can see.

#include "text/plain_text.h"

#include "qorutil/formatting.h"

#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/digit_grouping.h"
#include "support/scene.h"

namespace {

using qorutil_internal::getEscapedPlainly;
using qorutil_internal::hexdumpPlainly;
using qorutil_internal::makeStringPlainly;
using qorutil_internal::printBinaryPlainly;
using qorutil_internal::printEscapedPlainly;
using qorutil_internal::printPlainly;
using qorutil_internal::printPrintablePlainly;
using qorutil_internal::printSeparatedListPlainly;
using qorutil_internal::printUnknownEnumPlainly;
using qorutil_internal::setBits2listPlainly;

constexpr int rounds = 4000;

TEST(PlainText, Hexdump) {
  Random random(1);
  for (int round = 0; round < rounds / 4; ++round) {
    const std::string text = anyText(random, rarely(random) ? 5000 : 100);
    const auto* first = reinterpret_cast<const unsigned char*>(text.data());
    const auto* last = first + text.size();
    const std::string prefix(rarely(random) ? 1200 : below(random, 4), 'p');
    const char* const start = rarely(random) ? nullptr : prefix.c_str();
    const std::uint64_t perLine = 1 + anyNumber(random) / 2;
    const auto mode = static_cast<hexdumpPrefix_t>(below(random, 4));
    const bool end = below(random, 2) == 0;
    ASSERT_EQ(difference(
                  random,
                  [&](std::ostream& os) {
                    hexdumpPlainly(os, first, last, start, perLine % 4096 + 1,
                                   mode, end);
                  },
                  [&](std::ostream& os) {
                    hexdump(os, first, last, start, perLine % 4096 + 1, mode,
                            end);
                  }),
              "");
  }
}

TEST(PlainText, HexdumpOfOneEndlessLine) {
  Random random(2);
  std::string text = anyText(random, 1);
  text.resize(20000, 'x');
  const auto* first = reinterpret_cast<const unsigned char*>(text.data());
  const auto* last = first + text.size();
  constexpr auto perLine = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(difference(
                random,
                [&](std::ostream& os) {
                  hexdumpPlainly(os, first, last, "", perLine, HEXDUMP_OFFSET,
                                 true);
                },
                [&](std::ostream& os) {
                  hexdump(os, first, last, "", perLine, HEXDUMP_OFFSET, true);
                }),
            "");
}

TEST(PlainText, BinaryDigits) {
  Random random(3);
  for (int round = 0; round < rounds; ++round) {
    const std::uint64_t value = anyNumber(random);
    const std::uint64_t bits = below(random, 65);
    ASSERT_EQ(
        difference(
            random,
            [&](std::ostream& os) { printBinaryPlainly(os, value, bits); },
            [&](std::ostream& os) { BinaryBase::print(os, value, bits); }),
        "");
  }
}

TEST(PlainText, Escapes) {
  Random random(4);
  for (int round = 0; round < rounds; ++round) {
    const std::string text = anyText(random, rarely(random) ? 3000 : 40);
    ASSERT_EQ(
        difference(
            random, [&](std::ostream& os) { printEscapedPlainly(os, text); },
            [&](std::ostream& os) { printEscaped(os, text); }),
        "");
    ASSERT_EQ(
        difference(
            random, [&](std::ostream& os) { printPrintablePlainly(os, text); },
            [&](std::ostream& os) { printPrintable(os, text); }),
        "");
    ASSERT_EQ(getEscaped(text), getEscapedPlainly(text));
  }
}

void compareMakeString() {
  Random random(5);
  for (int round = 0; round < rounds; ++round) {
    const auto flags =
        static_cast<std::ios_base::fmtflags>(below(random, 1 << 17));
    const auto number = anySigned<int>(random);
    const auto natural = static_cast<unsigned int>(number);
    const auto narrow = static_cast<unsigned short>(number);
    ASSERT_EQ(makeString(number, flags), makeStringPlainly(number, flags));
    ASSERT_EQ(makeString(natural, flags),
              makeStringPlainly(static_cast<unsigned long>(natural), flags));
    ASSERT_EQ(makeString(narrow, flags),
              makeStringPlainly(static_cast<unsigned long>(narrow), flags));
  }
}

TEST(PlainText, MakeString) {
  compareMakeString();
}

TEST(PlainText, MakeStringUnderAGlobalLocale) {
  const GlobalDigitGrouping global("\1");
  compareMakeString();
}

void compareBitLists() {
  Random random(6);
  for (int round = 0; round < rounds; ++round) {
    const std::uint64_t bits = random() & anyNumber(random);
    const std::string text = anyText(random, 5);
    const char* const separator = rarely(random) ? nullptr : text.c_str();
    ASSERT_EQ(setBits2list(bits, separator),
              setBits2listPlainly(bits, separator));
  }
}

TEST(PlainText, BitLists) {
  compareBitLists();
}

TEST(PlainText, BitListsUnderAGlobalLocale) {
  const GlobalDigitGrouping global("\1");
  compareBitLists();
}

TEST(PlainText, EscapesUnderAGlobalLocale) {
  const GlobalDigitGrouping global("\1");
  Random random(7);
  for (int round = 0; round < rounds; ++round) {
    const std::string text = anyText(random, 20);
    ASSERT_EQ(getEscaped(text), getEscapedPlainly(text));
  }
}

TEST(PlainText, EnumerationsAndFlags) {
  Random random(8);
  for (int round = 0; round < rounds; ++round) {
    const auto value = anySigned<int>(random);
    const auto flags =
        static_cast<std::ios_base::fmtflags>(below(random, 1 << 17));
    ASSERT_EQ(difference(
                  random,
                  [&](std::ostream& os) { printUnknownEnumPlainly(os, value); },
                  [&](std::ostream& os) { printUnknownEnum(os, value); }),
              "");
    ASSERT_EQ(difference(
                  random, [&](std::ostream& os) { printPlainly(os, flags); },
                  [&](std::ostream& os) { os << flags; }),
              "");
  }
}

TEST(PlainText, Lists) {
  Random random(18);
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::string> texts(below(random, 6));
    std::vector<std::pair<bool, const char*>> list;
    for (std::string& text : texts) {
      text = anyText(random, rarely(random) ? 600 : 8);
      const bool null = below(random, 20) == 0;
      list.emplace_back(!rarely(random), null ? nullptr : text.c_str());
    }
    const std::string separator = anyText(random, 3);
    const char* const gap = rarely(random) ? nullptr : separator.c_str();
    const char* const none = rarely(random) ? nullptr : "none";
    ASSERT_EQ(
        difference(
            random,
            [&](std::ostream& os) {
              printSeparatedListPlainly(os, list, gap, none);
            },
            [&](std::ostream& os) { printSeparatedList(os, list, gap, none); }),
        "");
  }
}

TEST(PlainText, BuffersOfTheStandardLibraryFailAlike) {
  for (const std::string& text :
       {std::string("a"), std::string("\n\x1B\""), std::string(1100, '\n')}) {
    EXPECT_EQ(differenceWhereBuffersFail(
                  [&](std::ostream& os) { printEscapedPlainly(os, text); },
                  [&](std::ostream& os) { printEscaped(os, text); }),
              "");
    EXPECT_EQ(differenceWhereBuffersFail(
                  [&](std::ostream& os) { printPrintablePlainly(os, text); },
                  [&](std::ostream& os) { printPrintable(os, text); }),
              "");
    const auto* first = reinterpret_cast<const unsigned char*>(text.data());
    const auto* last = first + text.size();
    EXPECT_EQ(differenceWhereBuffersFail(
                  [&](std::ostream& os) {
                    hexdumpPlainly(os, first, last, "rx", 16, HEXDUMP_OFFSET,
                                   true);
                  },
                  [&](std::ostream& os) {
                    hexdump(os, first, last, "rx", 16, HEXDUMP_OFFSET, true);
                  }),
              "");
  }
}

TEST(PlainText, BuffersFailAlikeForShortTexts) {
  const std::vector<std::pair<bool, const char*>> one = {{true, "entry"}};
  const std::vector<std::pair<bool, const char*>> two = {{true, "a"},
                                                         {true, "b"}};
  for (const auto& list : {one, two}) {
    EXPECT_EQ(differenceWhereBuffersFail(
                  [&](std::ostream& os) {
                    printSeparatedListPlainly(os, list, ", ", "none");
                  },
                  [&](std::ostream& os) {
                    printSeparatedList(os, list, ", ", "none");
                  }),
              "");
  }
  EXPECT_EQ(differenceWhereBuffersFail(
                [](std::ostream& os) { printBinaryPlainly(os, 5, 64); },
                [](std::ostream& os) { BinaryBase::print(os, 5, 64); }),
            "");
  EXPECT_EQ(differenceWhereBuffersFail(
                [](std::ostream& os) { printUnknownEnumPlainly(os, 5); },
                [](std::ostream& os) { printUnknownEnum(os, 5); }),
            "");
  EXPECT_EQ(differenceWhereBuffersFail(
                [](std::ostream& os) { printPlainly(os, os.flags()); },
                [](std::ostream& os) { os << os.flags(); }),
            "");
}

TEST(PlainText, NoticesABufferThatFails) {
  EXPECT_TRUE(
      noticesFailure([](std::ostream& os) { printEscaped(os, "\x1B\n"); }));
  EXPECT_TRUE(
      noticesFailure([](std::ostream& os) { printUnknownEnum(os, 1); }));
  EXPECT_TRUE(noticesFailure([](std::ostream& os) { os << os.flags(); }));
  EXPECT_TRUE(
      noticesFailure([](std::ostream& os) { BinaryBase::print(os, 1, 8); }));
  EXPECT_TRUE(noticesFailure([](std::ostream& os) {
    const unsigned char byte = 1;
    hexdump<const unsigned char*>(os, &byte, &byte + 1, "rx", 1, HEXDUMP_OFFSET,
                                  false);
  }));
}

// Whether `use` gets by with `count` allocations.
bool allocatesAtMost(long count, const std::function<void()>& use) {
  const FailingAllocation next(count);
  use();
  return !next.happened();
}

TEST(PlainText, PrintersDoWithoutTheHeap) {
  std::ostringstream os;
  os << std::string(4000, ' ');
  os.seekp(0);
  const std::string text(100, '\n');
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  EXPECT_TRUE(allocatesAtMost(0, [&] {
    hexdump(os, bytes, bytes + 100, "rx", 16, HEXDUMP_OFFSET, false);
    BinaryBase::print(os, 1, 64);
    printEscaped(os, text);
    printPrintable(os, text);
    printUnknownEnum(os, 1);
    os << std::ios_base::dec;
  }));
}

TEST(PlainText, TextsTakeTheHeapForTheResultAlone) {
  const std::string text(3000, '\n');
  EXPECT_TRUE(allocatesAtMost(0, [] { makeString(-1, std::ios_base::oct); }));
  EXPECT_TRUE(allocatesAtMost(0, [] { makeString(1U, std::ios_base::hex); }));
  EXPECT_TRUE(allocatesAtMost(1, [] { setBits2list(~0UL, ", "); }));
  EXPECT_TRUE(allocatesAtMost(0, [] { getEscaped("a\n"); }));
  EXPECT_TRUE(allocatesAtMost(2, [&] { getEscaped(text); }));
}

}  // namespace
