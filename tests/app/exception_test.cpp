// SPDX-License-Identifier: MIT

#include "qorutil/exception.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iomanip>
#include <ios>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/digit_grouping.h"

namespace {

bool memoryIsExhausted = false;
long liveAllocations = 0;
bool descriptionIsNull = false;

}  // namespace

// Replaced, so that memory can run out and what a destructor leaves can be
// counted. The library and the standard library take these as well.
void* operator new(std::size_t size) {
  void* memory =
      memoryIsExhausted ? nullptr : std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++liveAllocations;
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    --liveAllocations;
    std::free(memory);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

// Replaced, because the real one has a description for every number.
extern "C" char* strerror(int errnum) noexcept {
  static char text[128];
  return descriptionIsNull ? nullptr : strerror_r(errnum, text, sizeof text);
}

namespace {

using testing::KilledBySignal;

std::string printed(const QorException& exception) {
  std::ostringstream os;
  os << exception;
  return os.str();
}

TEST(QorExceptionText, IsTheGivenTextWithoutAnErrorNumber) {
  EXPECT_STREQ(QorException(0, "abc").what(), "abc");
}

TEST(QorExceptionText, HasTheDescriptionOfTheErrorNumber) {
  EXPECT_STREQ(QorException(2, "open").what(),
               "open: No such file or directory");
}

TEST(QorExceptionText, DescribesAnEmptyRunQueue) {
  EXPECT_STREQ(QorException(14, "run queue must never be empty").what(),
               "run queue must never be empty: Bad address");
}

TEST(QorExceptionText, MayBeEmpty) {
  EXPECT_STREQ(QorException(0, "").what(), "");
}

TEST(QorExceptionText, KeepsTheSeparatorBehindAnEmptyText) {
  EXPECT_STREQ(QorException(5, "").what(), ": Input/output error");
}

TEST(QorExceptionText, DescribesEveryErrorNumberAsTheSystemDoes) {
  for (int errnum = -300; errnum <= 300; ++errnum) {
    const std::string group =
        errnum == 0 ? "" : std::string(": ") + std::strerror(errnum);
    EXPECT_EQ(QorException(errnum, "x").what(), "x" + group) << errnum;
  }
}

TEST(QorExceptionText, GrowsBehindTheDescription) {
  QorException exception(2, "open");
  exception << 5;
  EXPECT_STREQ(exception.what(), "open: No such file or directory5");
}

TEST(QorExceptionText, GrowsBehindTheTextAlone) {
  QorException exception(0, "abc");
  exception << " def " << 1.5 << '!';
  EXPECT_STREQ(exception.what(), "abc def 1.5!");
}

TEST(QorExceptionText, IsFormattedAsOnAnyStream) {
  QorException exception(0, "at ");
  exception << std::hex << std::showbase << std::setw(6) << std::setfill('.')
            << 255;
  EXPECT_STREQ(exception.what(), "at ..0xff");
}

TEST(QorExceptionText, IsWhateverTheStreamHolds) {
  QorException exception(2, "open");
  exception.str("other");
  EXPECT_STREQ(exception.what(), "other");
}

TEST(QorExceptionText, LongerThanAnySmallBufferStaysWhole) {
  const std::string text(10000, 'x');
  QorException exception(2, text.c_str());
  exception << text;
  EXPECT_EQ(exception.what(), text + ": No such file or directory" + text);
}

TEST(QorExceptionText, OfABadStreamStaysAsItWas) {
  QorException exception(0, "abc");
  exception << static_cast<const char*>(nullptr);
  EXPECT_TRUE(exception.bad());
  exception << "def";
  exception.addError(2);
  EXPECT_STREQ(exception.what(), "abc");
  EXPECT_EQ(printed(exception), "abc");
}

TEST(QorExceptionText, ComesWithoutAnyOutput) {
  const Capture capture;
  QorException exception(2, "open");
  exception << 5;
  exception.addError(3);
  EXPECT_NE(exception.what(), nullptr);
  EXPECT_EQ(capture.transcript(), "");
}

TEST(AddError, OfZeroAddsNothing) {
  QorException exception(0, "abc");
  exception.addError(0);
  EXPECT_STREQ(exception.what(), "abc");
}

TEST(AddError, ListsErrorsInTheOrderOfTheCalls) {
  QorException exception(0, "abc");
  exception.addError(5);
  exception.addError(2);
  EXPECT_STREQ(exception.what(),
               "abc: Input/output error: No such file or directory");
}

TEST(AddError, FollowsTheErrorOfTheConstructorAndRepeats) {
  QorException exception(5, "abc");
  exception.addError(5);
  exception.addError(0);
  exception.addError(5);
  EXPECT_STREQ(
      exception.what(),
      "abc: Input/output error: Input/output error: Input/output error");
}

TEST(AddError, FollowsWhatWasInserted) {
  QorException exception(0, "abc");
  exception << 7;
  exception.addError(2);
  exception << 8;
  EXPECT_STREQ(exception.what(), "abc7: No such file or directory8");
}

TEST(AddError, LeavesTheErrorNumber) {
  QorException exception(5, "abc");
  exception.addError(2);
  EXPECT_EQ(exception.getErrorNumber(), 5);
}

TEST(AddError, OfANullDescriptionMakesTheStreamBad) {
  QorException exception(0, "abc");
  descriptionIsNull = true;
  exception.addError(2);
  descriptionIsNull = false;
  EXPECT_TRUE(exception.bad());
  EXPECT_STREQ(exception.what(), "abc: ");
}

TEST(AddError, OfANullDescriptionInTheConstructorMakesTheStreamBad) {
  descriptionIsNull = true;
  const QorException exception(2, "abc");
  descriptionIsNull = false;
  EXPECT_TRUE(exception.bad());
  EXPECT_STREQ(exception.what(), "abc: ");
}

TEST(GetErrorNumber, IsThatOfTheConstructor) {
  EXPECT_EQ(QorException(0, "x").getErrorNumber(), 0);
  EXPECT_EQ(QorException(14, "x").getErrorNumber(), 14);
  EXPECT_EQ(QorException(-1, "x").getErrorNumber(), -1);
}

TEST(What, GivesTheSameTextTwice) {
  const QorException exception(2, "open");
  const std::string first = exception.what();
  EXPECT_EQ(exception.what(), first);
}

TEST(What, FollowsTheStreamFromCallToCall) {
  QorException exception(0, "abc");
  const std::string first = exception.what();
  exception << "def";
  EXPECT_EQ(first, "abc");
  EXPECT_STREQ(exception.what(), "abcdef");
}

TEST(What, StaysValidWhileTextIsAppendedAndPrinted) {
  QorException exception(0, "a text that no small buffer holds");
  const char* const text = exception.what();
  exception << " def";
  EXPECT_EQ(printed(exception), "a text that no small buffer holds def");
  EXPECT_STREQ(text, "a text that no small buffer holds");
}

TEST(QorExceptionPrinter, WritesWhatWhatReturns) {
  QorException exception(2, "open");
  exception << 5;
  EXPECT_EQ(printed(exception), exception.what());
}

TEST(QorExceptionPrinter, WritesNulBytesToo) {
  QorException exception(0, "a");
  exception << '\0' << 'b';
  EXPECT_EQ(printed(exception), std::string("a\0b", 3));
}

TEST(QorExceptionPrinter, WritesIntoAnotherException) {
  QorException outer(0, "outer: ");
  outer << QorException(2, "inner");
  EXPECT_STREQ(outer.what(), "outer: inner: No such file or directory");
}

TEST(QorExceptionPrinter, WritesIntoItself) {
  QorException exception(0, "ab");
  exception << exception;
  EXPECT_STREQ(exception.what(), "abab");
}

TEST(QorExceptionPrinter, TakesThePendingWidthAndLeavesTheFormat) {
  std::ostringstream os;
  os << std::hex << std::left << std::setfill('*') << std::setw(5);
  const std::ios_base::fmtflags flags = os.flags();
  std::ostream& result = os << QorException(0, "abc");
  EXPECT_EQ(&result, &os);
  EXPECT_EQ(os.str(), "abc**");
  EXPECT_EQ(os.flags(), flags);
  EXPECT_EQ(os.fill(), '*');
  EXPECT_EQ(os.width(), 0);
}

TEST(QorExceptionPrinter, NeitherEndsTheLineNorFlushes) {
  const Capture capture;
  std::cerr << QorException(2, "open");
  EXPECT_EQ(capture.transcript(), "<err>open: No such file or directory");
}

TEST(QorExceptionType, IsAnExceptionFirstAndAStringStreamSecond) {
  static_assert(std::is_base_of_v<std::exception, QorException>);
  static_assert(std::is_base_of_v<std::ostringstream, QorException>);
  static_assert(std::has_virtual_destructor_v<QorException>);
  static_assert(
      std::is_nothrow_constructible_v<QorException, int, const char*>);
  static_assert(std::is_nothrow_move_constructible_v<QorException>);
  static_assert(!std::is_copy_constructible_v<QorException>);
  static_assert(!std::is_move_assignable_v<QorException>);
  static_assert(!std::is_copy_assignable_v<QorException>);
  static_assert(noexcept(std::declval<const QorException&>().what()));
  const QorException exception(0, "abc");
  const std::exception* primary = &exception;
  EXPECT_EQ(static_cast<const void*>(primary), &exception);
  const std::ostringstream* stream = &exception;
  EXPECT_NE(static_cast<const void*>(stream), &exception);
}

template <class Base>
const char* caughtAs() {
  try {
    throw QorException(2, "open");
  } catch (const Base& caught) {
    const auto* exception = dynamic_cast<const QorException*>(&caught);
    return exception != nullptr && exception->getErrorNumber() == 2
               ? "the exception"
               : "something else";
  }
}

TEST(QorExceptionType, IsCaughtByEveryBase) {
  EXPECT_STREQ(caughtAs<std::exception>(), "the exception");
  EXPECT_STREQ(caughtAs<std::ostringstream>(), "the exception");
  EXPECT_STREQ(caughtAs<std::ostream>(), "the exception");
  EXPECT_STREQ(caughtAs<std::ios>(), "the exception");
  EXPECT_STREQ(caughtAs<std::ios_base>(), "the exception");
}

TEST(QorExceptionType, HasItsTextWhenCaughtAsAnException) {
  try {
    throw QorException(2, "open");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "open: No such file or directory");
  }
}

TEST(QorExceptionType, KeepsWhatHandlersAppendBeforeTheyRethrow) {
  try {
    try {
      try {
        throw QorException(2, "open");
      } catch (std::ostream& stream) {
        stream << " of the file";
        throw;
      }
    } catch (QorException& exception) {
      exception.addError(5);
      throw;
    }
  } catch (const std::exception& caught) {
    EXPECT_STREQ(
        caught.what(),
        "open: No such file or directory of the file: Input/output error");
  }
}

TEST(QorExceptionType, TravelsInAnExceptionPointer) {
  std::exception_ptr kept;
  try {
    throw QorException(2, "open");
  } catch (...) {
    kept = std::current_exception();
  }
  EXPECT_THROW(std::rethrow_exception(kept), QorException);
}

// As the header shows it.
[[noreturn]] void readSettings() {
  QorException failure(ENOENT, "settings");
  failure << " while starting";
  throw failure;
}

TEST(QorExceptionMove, LetsALocalOneBeThrown) {
  try {
    readSettings();
  } catch (QorException& caught) {
    EXPECT_EQ(caught.getErrorNumber(), 2);
    EXPECT_STREQ(caught.what(),
                 "settings: No such file or directory while starting");
    caught << ", port " << 3;
    caught.addError(5);
    EXPECT_STREQ(caught.what(),
                 "settings: No such file or directory while starting, port 3: "
                 "Input/output error");
  }
}

// Short and long texts are moved in different ways.
TEST(QorExceptionMove, TakesTheTextAndGoesOnAtItsEnd) {
  for (const std::size_t length : {0U, 1U, 15U, 16U, 511U, 512U, 10000U}) {
    const std::string text(length, 'x');
    QorException from(0, text.c_str());
    QorException exception(std::move(from));
    EXPECT_EQ(exception.what(), text);
    EXPECT_EQ(printed(exception), text);
    EXPECT_EQ(exception.tellp(), std::streampos(std::streamoff(length)));
    exception << "yz";
    EXPECT_EQ(exception.what(), text + "yz");
  }
}

TEST(QorExceptionMove, InsertsWhereTheOtherOneWouldHave) {
  QorException from(0, "abcdef");
  from.seekp(2);
  QorException exception(std::move(from));
  exception << "XY";
  EXPECT_STREQ(exception.what(), "abXYef");
}

TEST(QorExceptionMove, TakesErrorNumberFormatAndState) {
  QorException from(5, "abc");
  from << std::hex << std::showbase << std::setfill('.') << std::setprecision(3)
       << std::setw(6);
  from.imbue(digitGroupingLocale("\3"));
  from.exceptions(std::ios_base::eofbit);
  const std::ios_base::fmtflags flags = from.flags();
  QorException exception(std::move(from));
  EXPECT_EQ(exception.getErrorNumber(), 5);
  EXPECT_EQ(exception.flags(), flags);
  EXPECT_EQ(exception.fill(), '.');
  EXPECT_EQ(exception.precision(), 3);
  EXPECT_EQ(exception.width(), 6);
  EXPECT_EQ(exception.exceptions(), std::ios_base::eofbit);
  exception << 255 << std::dec << ' ' << 12345;
  EXPECT_STREQ(exception.what(), "abc: Input/output error..0xff 12,345");
}

TEST(QorExceptionMove, KeepsABadStreamBad) {
  QorException from(0, "abc");
  from << static_cast<const char*>(nullptr);
  QorException exception(std::move(from));
  EXPECT_EQ(exception.rdstate(), std::ios_base::badbit);
  exception << "def";
  EXPECT_STREQ(exception.what(), "abc");
}

TEST(QorExceptionMove, GivesTheNewStreamItsOwnBuffer) {
  QorException from(0, "abc");
  QorException exception(std::move(from));
  std::ostringstream& stream = exception;
  const std::ios& base = exception;
  EXPECT_EQ(base.rdbuf(), stream.rdbuf());
  base.rdbuf()->sputc('d');
  EXPECT_STREQ(exception.what(), "abcd");
}

TEST(QorExceptionMove, LeavesTheOtherOneEmptyWithItsNumberAndItsWhat) {
  for (const char* const text :
       {"short", "a text that no small buffer holds"}) {
    QorException from(0, text);
    const char* const before = from.what();
    const QorException exception(std::move(from));
    // NOLINTBEGIN(bugprone-use-after-move): that is what it is about
    EXPECT_STREQ(before, text);
    EXPECT_EQ(printed(from), "");
    EXPECT_EQ(from.getErrorNumber(), 0);
    EXPECT_TRUE(from.good());
    from << "again";
    EXPECT_STREQ(from.what(), "again");
    // NOLINTEND(bugprone-use-after-move)
    EXPECT_STREQ(exception.what(), text);
  }
}

TEST(QorExceptionMove, NeedsNoMemory) {
  QorException from(2, "a text that no small buffer holds");
  from.what();
  const std::string expected = printed(from);
  memoryIsExhausted = true;
  QorException exception(std::move(from));
  memoryIsExhausted = false;
  EXPECT_EQ(exception.what(), expected);
}

template <class Base>
long leftBehindByDeletionThrough() {
  const long before = liveAllocations;
  auto exception =
      std::make_unique<QorException>(2, "a text that no small buffer holds");
  exception->what();
  const long used = liveAllocations - before;
  EXPECT_EQ(used, 3);  // the object, the stream's text and its copy
  const Base* const base = exception.release();
  delete base;
  return liveAllocations - before;
}

TEST(QorExceptionType, IsDeletedWholeThroughEveryBase) {
  EXPECT_EQ(leftBehindByDeletionThrough<QorException>(), 0);
  EXPECT_EQ(leftBehindByDeletionThrough<std::exception>(), 0);
  EXPECT_EQ(leftBehindByDeletionThrough<std::ostringstream>(), 0);
  EXPECT_EQ(leftBehindByDeletionThrough<std::ostream>(), 0);
  EXPECT_EQ(leftBehindByDeletionThrough<std::ios>(), 0);
  EXPECT_EQ(leftBehindByDeletionThrough<std::ios_base>(), 0);
}

TEST(QorExceptionDeathTest, NullTextEndsTheProcess) {
  const char* const text = nullptr;
  EXPECT_EXIT(QorException(0, text), KilledBySignal(SIGABRT), "");
}

TEST(QorExceptionDeathTest, NoMemoryForTheTextEndsTheProcess) {
  EXPECT_EXIT(
      {
        memoryIsExhausted = true;
        QorException(0, "a text that no small buffer holds");
      },
      KilledBySignal(SIGABRT), "");
}

TEST(QorExceptionDeathTest, NoMemoryForTheDescriptionEndsTheProcess) {
  EXPECT_EXIT(
      {
        memoryIsExhausted = true;
        QorException(2, "open");
      },
      KilledBySignal(SIGABRT), "");
}

TEST(QorExceptionDeathTest, NoMemoryForWhatEndsTheProcess) {
  const QorException exception(0, "a text that no small buffer holds");
  EXPECT_EXIT(
      {
        memoryIsExhausted = true;
        exception.what();
      },
      KilledBySignal(SIGABRT), "");
}

TEST(QorSimpleException, HoldsANumberAndThenAText) {
  static_assert(std::is_aggregate_v<QorSimpleException>);
  static_assert(std::is_standard_layout_v<QorSimpleException>);
  const char* const text = "lost";
  const QorSimpleException exception{5, text};
  const auto& [number, message] = exception;
  EXPECT_EQ(number, 5);
  EXPECT_EQ(message, text);
  EXPECT_EQ(&message, &exception.message);
}

TEST(QorSimpleException, IsThrownAndCaughtByValue) {
  try {
    throw QorSimpleException{5, "lost"};
  } catch (const QorSimpleException& caught) {
    EXPECT_EQ(caught.errorNumber, 5);
    EXPECT_STREQ(caught.message, "lost");
  }
}

TEST(QorSimpleExceptionPrinter, WritesTheTextAlone) {
  std::ostringstream os;
  std::ostream& result = os << QorSimpleException{5, "lost"};
  EXPECT_EQ(&result, &os);
  EXPECT_EQ(os.str(), "lost");
}

TEST(QorSimpleExceptionPrinter, StopsAtTheNul) {
  std::ostringstream os;
  os << QorSimpleException{0, "ab\0cd"};
  EXPECT_EQ(os.str(), "ab");
}

TEST(QorSimpleExceptionPrinter, WritesAnEmptyText) {
  std::ostringstream os;
  os << QorSimpleException{5, ""};
  EXPECT_EQ(os.str(), "");
  EXPECT_TRUE(os.good());
}

TEST(QorSimpleExceptionPrinter, NullTextMakesTheStreamBad) {
  std::ostringstream os;
  std::ostream& result = os << QorSimpleException{5, nullptr};
  EXPECT_EQ(&result, &os);
  EXPECT_EQ(os.rdstate(), std::ios_base::badbit);
  EXPECT_EQ(os.str(), "");
}

TEST(QorSimpleExceptionPrinter, NullTextThrowsWhereTheStreamIsToldTo) {
  std::ostringstream os;
  os.exceptions(std::ios_base::badbit);
  const QorSimpleException exception{5, nullptr};
  EXPECT_THROW(os << exception, std::ios_base::failure);
  EXPECT_EQ(os.str(), "");
}

TEST(QorSimpleExceptionPrinter, TakesThePendingWidthAndLeavesTheFormat) {
  std::ostringstream os;
  os << std::hex << std::left << std::setfill('*') << std::setw(6);
  const std::ios_base::fmtflags flags = os.flags();
  os << QorSimpleException{5, "lost"};
  EXPECT_EQ(os.str(), "lost**");
  EXPECT_EQ(os.flags(), flags);
  EXPECT_EQ(os.fill(), '*');
  EXPECT_EQ(os.width(), 0);
}

TEST(QorSimpleExceptionPrinter, NeitherEndsTheLineNorFlushes) {
  const Capture capture;
  std::cout << QorSimpleException{5, "lost"};
  EXPECT_EQ(capture.transcript(), "<out>lost");
}

}  // namespace
