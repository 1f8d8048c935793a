// SPDX-License-Identifier: MIT

#include "common/insertion.h"

#include <iomanip>
#include <ios>
#include <locale>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/digit_grouping.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::insertText;
using qorutil_internal::takesNumbers;
using qorutil_internal::takesTexts;

// Counts what reaches it.
class CountingBuffer : public std::stringbuf {
 public:
  int insertions{0};
  int flushes{0};

 protected:
  std::streamsize xsputn(const char* from, std::streamsize count) override {
    ++insertions;
    return std::stringbuf::xsputn(from, count);
  }

  int sync() override {
    ++flushes;
    return 0;
  }
};

// Takes nothing.
class FullBuffer : public std::streambuf {};

TEST(Insertion, FreshStreamTakesTextsAndNumbers) {
  const std::ostringstream os;
  EXPECT_TRUE(takesTexts(os));
  EXPECT_TRUE(takesNumbers(os));
}

TEST(Insertion, PendingWidthTakesNeither) {
  std::ostringstream os;
  for (const int width : {1, -1}) {
    os << std::setw(width);
    EXPECT_FALSE(takesTexts(os));
    EXPECT_FALSE(takesNumbers(os));
  }
}

TEST(Insertion, OtherLocaleTakesTextsAlone) {
  std::ostringstream os;
  os.imbue(digitGroupingLocale(""));
  EXPECT_TRUE(takesTexts(os));
  EXPECT_FALSE(takesNumbers(os));
  os.imbue(std::locale("C"));
  EXPECT_TRUE(takesNumbers(os));
}

TEST(Insertion, ReachesTheBufferOnce) {
  CountingBuffer buffer;
  std::ostream os(&buffer);
  EXPECT_TRUE(insertText(os, "text"));
  EXPECT_TRUE(insertRecord(os, " and record"));
  EXPECT_EQ(buffer.str(), "text and record");
  EXPECT_EQ(buffer.insertions, 2);
  EXPECT_EQ(buffer.flushes, 0);
}

TEST(Insertion, OfARecordFlushesNothingOnAUnitBufferedStream) {
  CountingBuffer buffer;
  std::ostream os(&buffer);
  os << std::unitbuf << std::setfill('*');
  insertRecord(os, "record");
  EXPECT_EQ(buffer.flushes, 0);
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
  EXPECT_EQ(os.fill(), '*');
  insertText(os, "text");
  EXPECT_EQ(buffer.flushes, 1);
}

TEST(Insertion, StreamThatIsNotGoodTakesNeither) {
  std::ostringstream os;
  os.setstate(std::ios_base::eofbit);
  EXPECT_FALSE(takesTexts(os));
  EXPECT_FALSE(takesNumbers(os));
}

TEST(Insertion, FailureIsTold) {
  FullBuffer buffer;
  std::ostream os(&buffer);
  os << std::unitbuf;
  EXPECT_FALSE(insertText(os, "ab"));
  EXPECT_TRUE(os.bad());
  os.clear();
  EXPECT_FALSE(insertRecord(os, "ab"));
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
}

TEST(Insertion, FailureThrowsWhereTheStreamDoes) {
  FullBuffer buffer;
  std::ostream os(&buffer);
  os << std::unitbuf;
  os.exceptions(std::ios_base::badbit);
  EXPECT_THROW(insertRecord(os, "ab"), std::ios_base::failure);
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
}

}  // namespace
