// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/printed.h"

namespace withAnOperator {

struct Unrelated {};

[[maybe_unused]] std::ostream& operator<<(std::ostream& os,
                                          const Unrelated& /*unrelated*/) {
  return os;
}

std::string hidden(std::ios_base::fmtflags flags) {
  std::ostringstream os;
  os << flags;
  return os.str();
}

std::string madeVisible(std::ios_base::fmtflags flags) {
  using ::operator<<;
  std::ostringstream os;
  os << flags;
  return os.str();
}

}  // namespace withAnOperator

namespace withoutAnOperator {

std::string visible(std::ios_base::fmtflags flags) {
  std::ostringstream os;
  os << flags;
  return os.str();
}

}  // namespace withoutAnOperator

namespace {

// By bit number.
const char* const names[] = {
    " boolalpha", " dec",     " fixed",  " hex",        " internal",
    " left",      " oct",     " right",  " scientific", " showbase",
    " showpoint", " showpos", " skipws", " unitbuf",    " uppercase"};

std::string printed(std::ios_base::fmtflags flags) {
  return printedText(flags);
}

TEST(FormatFlags, FreshStreamIsDecimalAndSkipsWhiteSpace) {
  EXPECT_EQ(printed(std::ostringstream().flags()), "( dec skipws )");
}

TEST(FormatFlags, NoFlags) {
  EXPECT_EQ(printed({}), "( )");
}

TEST(FormatFlags, EveryConstantHasItsName) {
  EXPECT_EQ(printed(std::ios_base::boolalpha), "( boolalpha )");
  EXPECT_EQ(printed(std::ios_base::dec), "( dec )");
  EXPECT_EQ(printed(std::ios_base::fixed), "( fixed )");
  EXPECT_EQ(printed(std::ios_base::hex), "( hex )");
  EXPECT_EQ(printed(std::ios_base::internal), "( internal )");
  EXPECT_EQ(printed(std::ios_base::left), "( left )");
  EXPECT_EQ(printed(std::ios_base::oct), "( oct )");
  EXPECT_EQ(printed(std::ios_base::right), "( right )");
  EXPECT_EQ(printed(std::ios_base::scientific), "( scientific )");
  EXPECT_EQ(printed(std::ios_base::showbase), "( showbase )");
  EXPECT_EQ(printed(std::ios_base::showpoint), "( showpoint )");
  EXPECT_EQ(printed(std::ios_base::showpos), "( showpos )");
  EXPECT_EQ(printed(std::ios_base::skipws), "( skipws )");
  EXPECT_EQ(printed(std::ios_base::unitbuf), "( unitbuf )");
  EXPECT_EQ(printed(std::ios_base::uppercase), "( uppercase )");
}

TEST(FormatFlags, EveryCombinationInAscendingOrderOfTheBits) {
  for (unsigned int bits = 0; bits < 0x8000; ++bits) {
    std::string expected = "(";
    for (unsigned int bit = 0; bit < 15; ++bit) {
      if (((bits >> bit) & 1) != 0) {
        expected += names[bit];
      }
    }
    std::ostringstream os;
    os << static_cast<std::ios_base::fmtflags>(bits);
    ASSERT_EQ(os.str(), expected + " )");
  }
}

TEST(FormatFlags, BitsAboveTheLastNameAreIgnored) {
  EXPECT_EQ(printed(static_cast<std::ios_base::fmtflags>(0x8000)), "( )");
  EXPECT_EQ(printed(static_cast<std::ios_base::fmtflags>(0x7FFF8002)),
            "( dec )");
}

TEST(FormatFlags, PendingWidthPadsTheParenthesisWithSpaces) {
  std::ostringstream os;
  os << std::left << std::setfill('*') << std::setw(4) << std::ios_base::hex
     << '|';
  EXPECT_EQ(os.str(), "   ( hex )|");
}

TEST(FormatFlags, StreamPrintsItsOwnFlagsAsTheyWere) {
  std::ostringstream os;
  os << std::hex << std::uppercase << std::setfill('*');
  os << os.flags() << std::setw(4) << 0xAB;
  EXPECT_EQ(os.str(), "( hex skipws uppercase )**AB");
}

TEST(FormatFlags, ReturnsTheStream) {
  std::ostringstream os;
  EXPECT_EQ(&(os << std::ios_base::hex), &os);
}

TEST(FormatFlags, OperatorOfANamespaceHidesThePrinter) {
  EXPECT_EQ(withAnOperator::hidden(std::ios_base::hex), "8");
  EXPECT_EQ(withAnOperator::madeVisible(std::ios_base::hex), "( hex )");
  EXPECT_EQ(withoutAnOperator::visible(std::ios_base::hex), "( hex )");
}

}  // namespace
