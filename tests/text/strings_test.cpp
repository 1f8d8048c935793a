// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include <sys/time.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/allocation.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LowerCaseString, LowersANulTerminatedText) {
  EXPECT_EQ(lcstring("MiXeD 123"), "mixed 123");
}

TEST(LowerCaseString, LowersAStringWithItsNulBytes) {
  EXPECT_EQ(lcstring(std::string("A\0B", 3)), std::string("a\0b", 3));
}

TEST(LowerCaseString, StopsAtTheNulOfAText) {
  EXPECT_EQ(lcstring("AB\0CD"), "ab");
}

TEST(LowerCaseString, KeepsHighBytesInTheDefaultLocale) {
  EXPECT_EQ(lcstring("\xC4"), "\xC4");
}

TEST(LowerCaseString, MapsAllBytesAsTheDefaultLocaleDoes) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const bool upper = byte >= 'A' && byte <= 'Z';
    const std::string expected(
        1, static_cast<char>(upper ? byte - 'A' + 'a' : byte));
    EXPECT_EQ(lcstring(text), expected) << "byte " << byte;
  }
}

TEST(LowerCaseString, AssignmentLowersThroughTheConstructors) {
  lcstring word("x");
  word = "ABC";
  EXPECT_EQ(word, "abc");
  word = std::string("DEF");
  EXPECT_EQ(word, "def");
}

TEST(LowerCaseString, LaterEditsAreNotLowered) {
  lcstring word("AB");
  word += "CD";
  EXPECT_EQ(word, "abCD");
}

TEST(LowerCaseString, AddsNoDataToAString) {
  static_assert(std::is_base_of_v<std::string, lcstring>);
  static_assert(sizeof(lcstring) == sizeof(std::string));
}

TEST(Split, GivesAFieldMoreThanSeparators) {
  EXPECT_THAT(split("a,,b,", ','), ElementsAre("a", "", "b", ""));
}

TEST(Split, EmptyTextGivesOneEmptyField) {
  EXPECT_THAT(split("", ','), ElementsAre(""));
}

TEST(Split, LoneSeparatorGivesTwoEmptyFields) {
  EXPECT_THAT(split(",", ','), ElementsAre("", ""));
}

TEST(Split, LeadingSeparatorGivesAnEmptyFirstField) {
  EXPECT_THAT(split(",a", ','), ElementsAre("", "a"));
}

TEST(Split, TextWithoutSeparatorIsOneField) {
  EXPECT_THAT(split(" a b ", ','), ElementsAre(" a b "));
}

TEST(Split, CutsAtNulAndHighBytes) {
  EXPECT_THAT(split(std::string("a\0b", 3), '\0'), ElementsAre("a", "b"));
  EXPECT_THAT(split("a\xFF"
                    "b",
                    '\xFF'),
              ElementsAre("a", "b"));
}

TEST(Split, AppendingFormKeepsWhatWasThere) {
  std::vector<std::string> fields;
  split("a,b", ',', fields);
  split("c", ',', fields);
  EXPECT_THAT(fields, ElementsAre("a", "b", "c"));
}

TEST(Split, AppendingFormUsesTheRoomThatThereIs) {
  std::vector<std::string> fields;
  fields.reserve(3);
  const std::string* const room = fields.data();
  split("a,b,c", ',', fields);
  EXPECT_THAT(fields, ElementsAre("a", "b", "c"));
  EXPECT_EQ(fields.data(), room);
}

TEST(Tokenize, WordsAreRunsWithoutWhiteSpace) {
  EXPECT_THAT(tokenize("  alpha\t beta\n"), ElementsAre("alpha", "beta"));
}

TEST(Tokenize, LastWordNeedsNoWhiteSpaceBehindIt) {
  EXPECT_THAT(tokenize("alpha beta"), ElementsAre("alpha", "beta"));
}

TEST(Tokenize, NothingButWhiteSpaceGivesNoWord) {
  EXPECT_THAT(tokenize(""), IsEmpty());
  EXPECT_THAT(tokenize(" \t\n\v\f\r"), IsEmpty());
}

TEST(Tokenize, QuotationMarksAreOrdinaryBytes) {
  EXPECT_THAT(tokenize("\"a b\""), ElementsAre("\"a", "b\""));
}

TEST(Tokenize, AppendingFormKeepsWhatWasThere) {
  std::vector<std::string> words{"x"};
  tokenize(" a ", words);
  tokenize("b", words);
  EXPECT_THAT(words, ElementsAre("x", "a", "b"));
}

TEST(Tokenize, TheSixWhiteSpaceBytesOfTheDefaultLocaleSeparate) {
  const std::string spaces = " \t\n\v\f\r";
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text =
        std::string("a") + static_cast<char>(byte) + std::string("b");
    if (spaces.find(static_cast<char>(byte)) != std::string::npos) {
      EXPECT_THAT(tokenize(text), ElementsAre("a", "b")) << "byte " << byte;
    } else {
      EXPECT_THAT(tokenize(text), ElementsAre(text)) << "byte " << byte;
    }
  }
}

TEST(StrReplace, ReplacesEveryOccurrence) {
  std::string text = "abab";
  EXPECT_EQ(strReplace(text, "ab", "x"), "xx");
}

TEST(StrReplace, DoesNotSearchTheReplacement) {
  std::string text = "aa";
  EXPECT_EQ(strReplace(text, "a", "aa"), "aaaa");
}

TEST(StrReplace, NoMatchBeginsInsideAReplacement) {
  std::string text = "aab";
  EXPECT_EQ(strReplace(text, "ab", "a"), "aa");
  text = "aabb";
  EXPECT_EQ(strReplace(text, "ab", "a"), "aab");
}

TEST(StrReplace, OccurrencesDoNotOverlap) {
  std::string text = "aaa";
  EXPECT_EQ(strReplace(text, "aa", "b"), "ba");
}

TEST(StrReplace, EmptyReplacementRemoves) {
  std::string text = "a-b-c-";
  EXPECT_EQ(strReplace(text, "-", ""), "abc");
}

TEST(StrReplace, TextWithoutThePatternStays) {
  std::string text = "abc";
  EXPECT_EQ(strReplace(text, "x", "yy"), "abc");
  text.clear();
  EXPECT_EQ(strReplace(text, "x", "yy"), "");
}

// An empty pattern is found for ever: the text grows until memory ends.
TEST(StrReplace, EmptyPatternIsFoundForEver) {
  std::string text = "ab";
  const FailingAllocation late(20);
  EXPECT_THROW(strReplace(text, "", "x"), std::bad_alloc);
}

// With nothing to put in, it does not even grow. The timer ends the program,
// and a call that returned would end it otherwise.
TEST(StrReplaceDeathTest, EmptyPatternAndReplacementDoNotReturn) {
  const auto replace = [] {
    itimerval soon{};
    soon.it_value.tv_usec = 20000;
    setitimer(ITIMER_VIRTUAL, &soon, nullptr);
    std::string text = "ab";
    strReplace(text, "", "");
    std::_Exit(0);
  };
  EXPECT_EXIT(replace(), testing::KilledBySignal(SIGVTALRM), "");
}

TEST(StrReplace, ReturnsTheEditedString) {
  std::string text = "a";
  EXPECT_EQ(&strReplace(text, "a", "b"), &text);
}

TEST(RightTrim, RemovesTheBytesOfTheSetFromTheEnd) {
  std::string text = "value \r\n";
  EXPECT_EQ(rightTrim(text, " \r\n"), "value");
}

TEST(RightTrim, LeavesTheFrontAlone) {
  std::string text = "  value  ";
  EXPECT_EQ(rightTrim(text, " "), "  value");
}

TEST(RightTrim, TextOfTheSetAloneBecomesEmpty) {
  std::string text = "   ";
  EXPECT_EQ(rightTrim(text, " "), "");
  EXPECT_EQ(rightTrim(text, " "), "");
}

TEST(RightTrim, EmptySetLeavesTextUnchanged) {
  std::string text = "value ";
  EXPECT_EQ(rightTrim(text, ""), "value ");
}

TEST(RightTrim, TheSetIsNoSuffix) {
  std::string text = "xabba";
  EXPECT_EQ(rightTrim(text, "ab"), "x");
}

TEST(RightTrim, TheSetMayHoldNul) {
  std::string text("a\0b\0", 4);
  EXPECT_EQ(rightTrim(text, std::string("\0", 1)), std::string("a\0b", 3));
}

TEST(RightTrim, ReturnsTheEditedString) {
  std::string text = "a ";
  EXPECT_EQ(&rightTrim(text, " "), &text);
}

}  // namespace
