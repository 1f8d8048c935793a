// SPDX-License-Identifier: MIT
//
// Holds the fast ways against the plain ones: random values on random streams,
// of which everything is compared that a caller can see.

#include "common/plain.h"

#include "qorutil/formatting.h"
#include "qorutil/system.h"
#include "qorutil/time.h"
#include "qorutil/version.h"

#include <algorithm>
#include <array>
#include <cfenv>
#include <clocale>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include <linux/can.h>
#include <mqueue.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/digit_grouping.h"
#include "support/files.h"

namespace {

using Random = std::mt19937_64;
using Printer = std::function<void(std::ostream& os)>;

std::size_t below(Random& random, std::size_t limit) {
  return static_cast<std::size_t>(random() % limit);
}

bool rarely(Random& random) {
  return below(random, 6) == 0;
}

// Any number of bits, so that small numbers are no exception.
std::uint64_t anyNumber(Random& random) {
  return random() >> below(random, 64);
}

template <class T>
T anySigned(Random& random) {
  const auto number = static_cast<T>(anyNumber(random));
  return below(random, 4) == 0 ? static_cast<T>(~number) : number;
}

std::string anyText(Random& random, std::size_t longest) {
  std::string text(below(random, longest + 1), '\0');
  const bool readable = below(random, 2) == 0;
  for (char& byte : text) {
    byte = static_cast<char>(readable ? ' ' + below(random, 95) : random());
  }
  return text;
}

// Takes `limit` characters in steps of `step` and fails then. Notes each flush
// with the number of characters written before.
class OddBuffer : public std::streambuf {
 public:
  OddBuffer(std::size_t most, std::size_t atATime, bool withException)
      : limit(most), step(atATime), throws(withException) {
    setp(area.data(), area.data());
  }

  std::string text() const { return taken + std::string(pbase(), pptr()); }

  std::string flushes;

 protected:
  int_type overflow(int_type character) override {
    taken.append(pbase(), pptr());
    const std::size_t room = std::min(step, limit - taken.size());
    setp(area.data(), area.data() + room);
    if (room == 0) {
      if (throws) {
        throw limit;
      }
      return traits_type::eof();
    }
    return sputc(traits_type::to_char_type(character));
  }

  int sync() override {
    flushes += '@' + std::to_string(text().size());
    return 0;
  }

 private:
  std::size_t limit;
  std::size_t step;
  bool throws;
  std::string taken;
  std::array<char, 4096> area{};
};

// Notes when the other stream is flushed because of a tie.
class TiedBuffer : public std::streambuf {
 public:
  explicit TiedBuffer(OddBuffer& other) : buffer(other) {}

 protected:
  int sync() override {
    buffer.flushes += '<' + std::to_string(buffer.text().size());
    return 0;
  }

 private:
  OddBuffer& buffer;
};

struct Scene {
  std::size_t limit;
  std::size_t step;
  bool throws;
  bool tied;
  std::ios_base::fmtflags flags;
  char fill;
  std::streamsize width;
  std::streamsize precision;
  std::string grouping;
  std::ios_base::iostate state;
  std::ios_base::iostate exceptions;
};

Scene anyScene(Random& random) {
  constexpr std::size_t steps[] = {0, 1, 50, 200, 2000, 4096};
  constexpr std::streamsize widths[] = {-3, 1, 2, 5, 20, 90, 1500};
  const auto ordinary = std::ios_base::dec | std::ios_base::skipws;
  Scene scene{1 << 20, 0, false, false, ordinary, ' ', 0, 6, {}, {}, {}};
  scene.step = std::max<std::size_t>(steps[below(random, 6)], 1);
  if (rarely(random)) {
    scene.limit = 1 + below(random, 60);
    scene.throws = below(random, 2) == 0;
  }
  scene.tied = rarely(random);
  if (below(random, 2) == 0) {
    scene.flags = static_cast<std::ios_base::fmtflags>(below(random, 1 << 17));
    if (below(random, 2) == 0) {
      scene.flags &= ~(std::ios_base::floatfield | std::ios_base::showpoint |
                       std::ios_base::showpos | std::ios_base::unitbuf);
    }
    constexpr char fills[] = {' ', '*', '-', '.', '\0', '0'};
    scene.fill = fills[below(random, 6)];
  }
  if (below(random, 3) == 0) {
    scene.width = widths[below(random, 7)];
  }
  if (rarely(random)) {
    scene.precision = static_cast<std::streamsize>(below(random, 20));
  }
  if (rarely(random)) {
    scene.grouping = below(random, 2) == 0 ? "\1" : "\3";
  }
  if (rarely(random)) {
    scene.state = static_cast<std::ios_base::iostate>(below(random, 8));
  }
  if (rarely(random)) {
    scene.exceptions = static_cast<std::ios_base::iostate>(below(random, 8));
  }
  return scene;
}

// All that is to be seen of a printer in a scene.
std::string seen(const Scene& scene, const Printer& print) {
  OddBuffer buffer(scene.limit, scene.step, scene.throws);
  buffer.sputc('>');  // opens the put area
  TiedBuffer tiedBuffer(buffer);
  std::ostream tied(&tiedBuffer);
  std::ostream os(&buffer);
  os.flags(scene.flags);
  os.fill(scene.fill);
  os.width(scene.width);
  os.precision(scene.precision);
  os.tie(scene.tied ? &tied : nullptr);
  if (!scene.grouping.empty()) {
    os.imbue(digitGroupingLocale(scene.grouping));
  }
  std::string thrown;
  try {
    os.exceptions(scene.exceptions);
    os.clear(scene.state);
    print(os);
  } catch (const std::ios_base::failure&) {
    thrown = " failure";
  } catch (std::size_t) {
    thrown = " number";
  }
  std::ostringstream all;
  all << buffer.text() << "|" << buffer.flushes << thrown << " state "
      << os.rdstate() << " width " << os.width() << " flags "
      << static_cast<int>(os.flags()) << " fill " << int{os.fill()}
      << " precision " << os.precision();
  return all.str();
}

std::string inAStringStream(const Printer& print) {
  std::ostringstream os;
  print(os);
  print(os);
  return os.str();
}

std::string inAFile(const Printer& print) {
  const TemporaryFolder folder;
  {
    std::ofstream os(folder.path("file"));
    print(os);
    print(os);
  }
  return folder.read("file");
}

void expectTheSame(Random& random, const Printer& plain, const Printer& fast) {
  const Scene scene = anyScene(random);
  ASSERT_EQ(seen(scene, fast), seen(scene, plain));
  ASSERT_EQ(inAStringStream(fast), inAStringStream(plain));
  if (below(random, 64) == 0) {
    ASSERT_EQ(inAFile(fast), inAFile(plain));
  }
}

template <class T>
void expectTheSame(Random& random, const T& record) {
  ASSERT_NO_FATAL_FAILURE(expectTheSame(
      random, [&](std::ostream& os) { printPlainly(os, record); },
      [&](std::ostream& os) { os << record; }));
}

// Has room to spare, but passes texts on to a device that fails.
class WriteThroughBuffer : public std::streambuf {
 public:
  explicit WriteThroughBuffer(bool withException) : throws(withException) {
    setp(area.data(), area.data() + area.size());
  }

  int flushes{0};

 protected:
  std::streamsize xsputn(const char* /*from*/,
                         std::streamsize /*count*/) override {
    if (throws) {
      throw area.size();
    }
    return 0;
  }

  int sync() override {
    ++flushes;
    return 0;
  }

 private:
  bool throws;
  std::array<char, 4096> area{};
};

// Whether the failure shows in the stream, and in nothing else of it.
void expectFailureNoticed(const Printer& print) {
  for (const bool throws : {false, true}) {
    WriteThroughBuffer buffer(throws);
    std::ostream os(&buffer);
    os.setf(std::ios_base::unitbuf);
    const auto flags = os.flags();
    EXPECT_NO_THROW(print(os));
    EXPECT_TRUE(os.bad());
    os.clear();
    os.exceptions(std::ios_base::badbit);
    if (throws) {
      EXPECT_THROW(print(os), std::size_t);
    } else {
      EXPECT_THROW(print(os), std::ios_base::failure);
    }
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), ' ');
    EXPECT_EQ(buffer.flushes, 0);
  }
}

template <class T>
void expectRecordFailureNoticed(const T& record) {
  const Printer plain = [&](std::ostream& os) { printPlainly(os, record); };
  const Printer fast = [&](std::ostream& os) { os << record; };
  expectFailureNoticed(plain);
  expectFailureNoticed(fast);
}

TEST(FastWay, NoticesABufferThatFailsInSpiteOfItsRoom) {
  expectRecordFailureNoticed(Version(1, 2, 3, 4));
  expectRecordFailureNoticed(tm{});
  expectRecordFailureNoticed(timespec{3661, 5});
  expectRecordFailureNoticed(mq_attr{});
  expectRecordFailureNoticed(can_frame{});
  expectFailureNoticed([](std::ostream& os) { printEscaped(os, "\x1B\n"); });
  expectFailureNoticed([](std::ostream& os) { printUnknownEnum(os, 1); });
  expectFailureNoticed([](std::ostream& os) {
    const unsigned char byte = 1;
    hexdump<const unsigned char*>(os, &byte, &byte + 1, "rx", 1, HEXDUMP_OFFSET,
                                  false);
  });
}

constexpr int rounds = 4000;

TEST(FastWay, Hexdump) {
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
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random,
        [&](std::ostream& os) {
          hexdumpPlainly(os, first, last, start, perLine % 4096 + 1, mode, end);
        },
        [&](std::ostream& os) {
          hexdump(os, first, last, start, perLine % 4096 + 1, mode, end);
        }));
  }
}

TEST(FastWay, HexdumpOfOneEndlessLine) {
  Random random(2);
  std::string text = anyText(random, 1);
  text.resize(20000, 'x');
  const auto* first = reinterpret_cast<const unsigned char*>(text.data());
  const auto* last = first + text.size();
  constexpr auto perLine = std::numeric_limits<std::uint64_t>::max();
  expectTheSame(
      random,
      [&](std::ostream& os) {
        hexdumpPlainly(os, first, last, "", perLine, HEXDUMP_OFFSET, true);
      },
      [&](std::ostream& os) {
        hexdump(os, first, last, "", perLine, HEXDUMP_OFFSET, true);
      });
}

TEST(FastWay, BinaryDigits) {
  Random random(3);
  for (int round = 0; round < rounds; ++round) {
    const std::uint64_t value = anyNumber(random);
    const std::uint64_t bits = below(random, 65);
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random, [&](std::ostream& os) { printBinaryPlainly(os, value, bits); },
        [&](std::ostream& os) { BinaryBase::print(os, value, bits); }));
  }
}

TEST(FastWay, Escapes) {
  Random random(4);
  for (int round = 0; round < rounds; ++round) {
    const std::string text = anyText(random, rarely(random) ? 3000 : 40);
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random, [&](std::ostream& os) { printEscapedPlainly(os, text); },
        [&](std::ostream& os) { printEscaped(os, text); }));
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random, [&](std::ostream& os) { printPrintablePlainly(os, text); },
        [&](std::ostream& os) { printPrintable(os, text); }));
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

TEST(FastWay, MakeString) {
  compareMakeString();
}

TEST(FastWay, MakeStringUnderAGlobalLocale) {
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

TEST(FastWay, BitLists) {
  compareBitLists();
}

TEST(FastWay, BitListsUnderAGlobalLocale) {
  const GlobalDigitGrouping global("\1");
  compareBitLists();
}

TEST(FastWay, EscapesUnderAGlobalLocale) {
  const GlobalDigitGrouping global("\1");
  Random random(7);
  for (int round = 0; round < rounds; ++round) {
    const std::string text = anyText(random, 20);
    ASSERT_EQ(getEscaped(text), getEscapedPlainly(text));
  }
}

TEST(FastWay, EnumerationsAndFlags) {
  Random random(8);
  for (int round = 0; round < rounds; ++round) {
    const auto value = anySigned<int>(random);
    const auto flags =
        static_cast<std::ios_base::fmtflags>(below(random, 1 << 17));
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random, [&](std::ostream& os) { printUnknownEnumPlainly(os, value); },
        [&](std::ostream& os) { printUnknownEnum(os, value); }));
    ASSERT_NO_FATAL_FAILURE(expectTheSame(
        random, [&](std::ostream& os) { printPlainly(os, flags); },
        [&](std::ostream& os) { os << flags; }));
  }
}

TEST(FastWay, Sizes) {
  Random random(9);
  for (int round = 0; round < 10 * rounds; ++round) {
    const printSize size(anyNumber(random));
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, size)) << size.bytes;
  }
}

// Ends of units, and what lies just in the middle between two texts.
TEST(FastWay, SizesThatAreRounded) {
  Random random(10);
  for (int shift = 10; shift <= 40; shift += 10) {
    for (int round = 0; round < 10 * rounds; ++round) {
      const std::uint64_t unit = std::uint64_t{1} << shift;
      const std::uint64_t middle = unit >> (1 + below(random, 10));
      const std::uint64_t bytes =
          below(random, 1025) * unit + below(random, 1025) * middle;
      const printSize size(bytes - 2 + below(random, 4));
      std::ostringstream plain;
      printPlainly(plain, size);
      std::ostringstream fast;
      fast << size;
      ASSERT_EQ(fast.str(), plain.str()) << size.bytes;
    }
  }
}

TEST(FastWay, SizesInEveryRoundingMode) {
  Random random(11);
  const int before = std::fegetround();
  for (const int mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO, FE_TONEAREST}) {
    for (int round = 0; round < rounds; ++round) {
      const printSize size(anyNumber(random));
      std::fesetround(mode);
      std::ostringstream plain;
      printPlainly(plain, size);
      std::ostringstream fast;
      fast << size;
      std::fesetround(before);
      ASSERT_EQ(fast.str(), plain.str()) << size.bytes;
    }
  }
}

TEST(FastWay, KernelRecords) {
  Random random(12);
  for (int round = 0; round < rounds; ++round) {
    mq_attr attr{};
    attr.mq_flags = anySigned<long>(random);
    attr.mq_maxmsg = anySigned<long>(random);
    attr.mq_msgsize = anySigned<long>(random);
    attr.mq_curmsgs = anySigned<long>(random);
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, attr));
    can_frame frame{};
    frame.can_id = static_cast<canid_t>(random() << below(random, 32));
    frame.can_dlc = static_cast<unsigned char>(below(random, 9));
    for (unsigned char& byte : frame.data) {
      byte = static_cast<unsigned char>(random());
    }
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, frame));
  }
}

TEST(FastWay, TimeRecords) {
  Random random(13);
  for (int round = 0; round < rounds; ++round) {
    tm broken{};
    for (int* field : {&broken.tm_year, &broken.tm_mon, &broken.tm_mday,
                       &broken.tm_hour, &broken.tm_min, &broken.tm_sec}) {
      *field = anySigned<int>(random);
    }
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, broken));
    timeval micro{};
    micro.tv_sec = anySigned<std::time_t>(random);
    micro.tv_usec = anySigned<suseconds_t>(random);
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, micro));
    timespec nano{};
    nano.tv_sec = anySigned<std::time_t>(random);
    nano.tv_nsec = anySigned<long>(random);
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, nano));
    const std::uint64_t microseconds = anyNumber(random) | 1;
    ASSERT_EQ(printTime(microseconds), printTimePlainly(microseconds));
  }
}

TEST(FastWay, Versions) {
  Random random(14);
  for (int round = 0; round < rounds; ++round) {
    const auto part = [&] {
      return static_cast<std::uint16_t>(anyNumber(random));
    };
    const Version version(part(), part(), part(), part());
    ASSERT_NO_FATAL_FAILURE(expectTheSame(random, version));
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

TEST(FastWay, VersionsInTexts) {
  compareSearches(15);
}

TEST(FastWay, VersionsInUtf8) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  compareSearches(16);
  std::setlocale(LC_ALL, "C");
}

TEST(FastWay, ComparisonOfVersions) {
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

// Whether `use` gets by with `count` allocations.
bool allocatesAtMost(long count, const std::function<void()>& use) {
  const FailingAllocation next(count);
  use();
  return !next.happened();
}

TEST(FastWay, PrintersDoWithoutTheHeap) {
  OddBuffer buffer(1 << 20, 4096, false);
  buffer.sputc('>');
  std::ostream os(&buffer);
  const std::string text(100, '\n');
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  EXPECT_TRUE(allocatesAtMost(0, [&] {
    hexdump(os, bytes, bytes + 100, "rx", 16, HEXDUMP_OFFSET, false);
    BinaryBase::print(os, 1, 64);
    printEscaped(os, text);
    printPrintable(os, text);
    printUnknownEnum(os, 1);
    os << std::ios_base::dec << printSize(123456789) << mq_attr{} << can_frame{}
       << Version() << tm{} << timeval{} << timespec{};
  }));
}

TEST(FastWay, TextsTakeTheHeapForTheResultAlone) {
  const std::string text(2000, '\n');
  EXPECT_TRUE(allocatesAtMost(0, [] { makeString(-1, std::ios_base::oct); }));
  EXPECT_TRUE(allocatesAtMost(1, [] { setBits2list(~0UL, ", "); }));
  EXPECT_TRUE(allocatesAtMost(1, [] { printTime(1700000000123456); }));
  EXPECT_TRUE(allocatesAtMost(0, [] { getEscaped("a\n"); }));
  EXPECT_TRUE(allocatesAtMost(2, [&] { getEscaped(text); }));
}

TEST(FastWay, VersionsDoWithoutTheHeap) {
  const std::string text = "firmware of a long name 1.2.3.4";
  EXPECT_TRUE(allocatesAtMost(0, [&] {
    Version::getVersion(text);
    compareVersions(text, text, -1);
  }));
}

}  // namespace
