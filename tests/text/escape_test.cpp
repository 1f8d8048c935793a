// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cctype>
#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/digit_grouping.h"
#include "support/printed.h"

namespace {

// Printable beside what the locale says, as in a locale with 8-bit letters.
int extraPrintable = -1;
bool negativeAsked = false;

}  // namespace

int isprint(int character) noexcept {
  negativeAsked = negativeAsked || character < 0;
  return character == extraPrintable || character == ' ' ||
                 std::isgraph(character) != 0
             ? 1
             : 0;
}

namespace {

std::string escaped(const std::string& text) {
  return printed([&](std::ostream& os) { printEscaped(os, text); });
}

std::string printable(const std::string& text) {
  return printed([&](std::ostream& os) { printPrintable(os, text); });
}

// What the default locale makes of a byte between the quotes.
std::string expectedEscape(int byte) {
  if (byte == 0) {
    return "\\0";
  }
  if (byte == '\\') {
    return "\\\\";
  }
  if (byte >= 0x07 && byte <= 0x0D) {
    return std::string("\\") + "abtnvfr"[byte - 0x07];
  }
  if (byte >= 0x20 && byte <= 0x7E) {
    return std::string(1, static_cast<char>(byte));
  }
  const char* const digits = "0123456789abcdef";
  return std::string("\\x") + digits[byte / 16] + digits[byte % 16];
}

TEST(PrintEscaped, EmptyTextIsTwoDoubleQuotes) {
  EXPECT_EQ(escaped(""), "\"\"");
}

TEST(PrintEscaped, OneByteStandsInSingleQuotes) {
  EXPECT_EQ(escaped("a"), "'a'");
}

TEST(PrintEscaped, TwoBytesStandInDoubleQuotes) {
  EXPECT_EQ(escaped("ab"), "\"ab\"");
}

TEST(PrintEscaped, QuotesAreNotEscaped) {
  EXPECT_EQ(escaped("'"), "'''");
  EXPECT_EQ(escaped("\""), "'\"'");
  EXPECT_EQ(escaped("'\""), "\"'\"\"");
}

TEST(PrintEscaped, LineFeedHasAnEscapeOfItsOwn) {
  EXPECT_EQ(escaped("a\n"), "\"a\\n\"");
}

TEST(PrintEscaped, OtherControlsAreTwoLowerCaseDigits) {
  EXPECT_EQ(escaped("\xFF\x7F\x01\x1B"), "\"\\xff\\x7f\\x01\\x1b\"");
}

TEST(PrintEscaped, EveryByteAloneAndInAText) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const std::string expected = expectedEscape(byte);
    EXPECT_EQ(escaped(text), "'" + expected + "'") << "byte " << byte;
    EXPECT_EQ(escaped(text + text), "\"" + expected + expected + "\"")
        << "byte " << byte;
  }
  EXPECT_FALSE(negativeAsked);
}

TEST(PrintEscaped, LocaleDecidesWhatIsPrintable) {
  extraPrintable = 0xE4;
  EXPECT_EQ(escaped("\xE4\xE5"), "\"\xE4\\xe5\"");
  extraPrintable = 0x1B;
  EXPECT_EQ(escaped("\x1B"), "'\x1B'");
  extraPrintable = '\n';
  EXPECT_EQ(escaped("\n"), "'\\n'") << "escapes of their own come first";
  extraPrintable = -1;
}

TEST(PrintEscaped, DigitsAreLowerCaseOnAnUpperCaseStream) {
  std::ostringstream os;
  os << std::uppercase << std::showbase << std::left << std::setfill('*');
  printEscaped(os, "\x1B\x01");
  os << std::hex << std::setw(6) << 0xAB;
  EXPECT_EQ(os.str(), "\"\\x1b\\x01\"0XAB**");
}

TEST(PrintEscaped, DecimalStreamStaysDecimal) {
  std::ostringstream os;
  printEscaped(os, "\xFF") << 255;
  EXPECT_EQ(os.str(), "'\\xff'255");
}

TEST(PrintEscaped, PendingWidthPadsTheOpeningQuoteWithZeros) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(4);
  printEscaped(os, "ab") << '|';
  EXPECT_EQ(os.str(), "000\"ab\"|");
}

TEST(PrintEscaped, LocaleGroupsTheDigits) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale("\1"));
  printEscaped(os, "\xFF\x01");
  EXPECT_EQ(os.str(), "\"\\xf,f\\x01\"");
}

TEST(PrintEscaped, ReturnsTheStream) {
  std::ostringstream os;
  EXPECT_EQ(&printEscaped(os, "a"), &os);
}

TEST(GetEscaped, IsWhatPrintEscapedWrites) {
  EXPECT_EQ(getEscaped(""), "\"\"");
  EXPECT_EQ(getEscaped("a"), "'a'");
  EXPECT_EQ(getEscaped(std::string("a\0\t\xFF", 4)), "\"a\\0\\t\\xff\"");
}

TEST(GetEscaped, EveryByte) {
  for (int byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(getEscaped(std::string(1, static_cast<char>(byte))),
              "'" + expectedEscape(byte) + "'")
        << "byte " << byte;
  }
}

TEST(GetEscaped, FollowsTheGlobalLocaleAsAFreshStreamDoes) {
  const GlobalDigitGrouping grouping("\1");
  EXPECT_EQ(getEscaped("\xFF"), "'\\xf,f'");
}

TEST(PrintPrintable, OtherBytesBecomeFullStops) {
  EXPECT_EQ(printable(std::string("a\0b\xC3", 4)), "a.b.");
}

TEST(PrintPrintable, EmptyTextWritesNothingAndKeepsTheWidth) {
  std::ostringstream os;
  os << std::setw(4);
  printPrintable(os, "");
  EXPECT_EQ(os.str(), "");
  EXPECT_EQ(os.width(), 4);
}

TEST(PrintPrintable, EveryByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const bool kept = byte >= 0x20 && byte <= 0x7E;
    EXPECT_EQ(printable(std::string(1, character)),
              std::string(1, kept ? character : '.'))
        << "byte " << byte;
  }
  EXPECT_FALSE(negativeAsked);
}

TEST(PrintPrintable, LocaleDecidesWhatIsPrintable) {
  extraPrintable = 0xE4;
  EXPECT_EQ(printable("\xE4\xE5"), "\xE4.");
  extraPrintable = -1;
}

TEST(PrintPrintable, PendingWidthPadsTheFirstCharacterInTheStreamsFormat) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(3);
  printPrintable(os, "\nb");
  EXPECT_EQ(os.str(), ".**b");
}

TEST(PrintPrintable, ReturnsTheStream) {
  std::ostringstream os;
  EXPECT_EQ(&printPrintable(os, "a"), &os);
}

}  // namespace
