// SPDX-License-Identifier: MIT

#include "common/insertion.h"

#include <iomanip>
#include <ios>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

#include <pthread.h>

#include <gtest/gtest.h>

#include "support/digit_grouping.h"
#include "support/sanitizers.h"

namespace {

using qorutil_internal::insertAtOnce;
using qorutil_internal::insertRecord;
using qorutil_internal::insertText;
using qorutil_internal::takesNumbers;
using qorutil_internal::takesTexts;

// Counts what reaches it.
class CountingBuffer : public std::streambuf {
 public:
  std::string text;
  int insertions{0};
  int flushes{0};

 protected:
  std::streamsize xsputn(const char* from, std::streamsize count) override {
    ++insertions;
    text.append(from, static_cast<std::size_t>(count));
    return count;
  }

  int sync() override {
    ++flushes;
    return 0;
  }
};

// Takes nothing.
class FullBuffer : public std::streambuf {};

// Ends the thread that writes to it.
class EndingBuffer : public std::streambuf {
 protected:
  std::streamsize xsputn(const char* /*from*/,
                         std::streamsize /*count*/) override {
    pthread_exit(nullptr);
  }
};

// Does not write where all is taken at once.
void notAsked(std::ostream& /*os*/) {
  FAIL();
}

void printTwoPieces(std::ostream& os) {
  os << std::setw(2) << 'a' << std::setw(3) << 'b';
}

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
  insertText(os, "text", notAsked);
  insertRecord(os, " and record", notAsked);
  EXPECT_EQ(buffer.text, "text and record");
  EXPECT_EQ(buffer.insertions, 2);
  EXPECT_EQ(buffer.flushes, 0);
}

TEST(Insertion, OfARecordFlushesNothingOnAUnitBufferedStream) {
  CountingBuffer buffer;
  std::ostream os(&buffer);
  os << std::unitbuf << std::setfill('*');
  insertRecord(os, "record", notAsked);
  EXPECT_EQ(buffer.flushes, 0);
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
  EXPECT_EQ(os.fill(), '*');
  insertText(os, "text", notAsked);
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
  EXPECT_EQ(insertAtOnce(os, "ab"), 0);
  EXPECT_EQ(os.rdstate(), std::ios_base::badbit);
  os.clear();
  insertRecord(os, " a  b", printTwoPieces);
  EXPECT_EQ(os.rdstate(), std::ios_base::badbit | std::ios_base::failbit);
  EXPECT_EQ(os.width(), 3);
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
}

// Also where the stream throws: that would end the process.
TEST(Insertion, TheEndOfTheThreadIsPassedOnAndNoted) {
#if defined(QORUTIL_ADDRESS_SANITIZER) && !defined(__clang__)
  GTEST_SKIP() << "to the sanitizer of g++ what ends a thread is a null object";
#endif
  for (const auto exceptions :
       {std::ios_base::goodbit, std::ios_base::badbit}) {
    EndingBuffer buffer;
    std::ostream os(&buffer);
    os.exceptions(exceptions);
    bool returned = false;
    std::thread([&] {
      insertAtOnce(os, "text");
      returned = true;
    }).join();
    EXPECT_FALSE(returned);
    EXPECT_EQ(os.rdstate(), std::ios_base::badbit);
  }
}

TEST(Insertion, FailureThrowsWhereTheStreamDoes) {
  FullBuffer buffer;
  std::ostream os(&buffer);
  os << std::unitbuf;
  os.exceptions(std::ios_base::badbit);
  EXPECT_THROW(insertRecord(os, "ab", notAsked), std::ios_base::failure);
  EXPECT_EQ(os.flags() & std::ios_base::unitbuf, std::ios_base::unitbuf);
}

}  // namespace
