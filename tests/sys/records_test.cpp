// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <algorithm>
#include <array>
#include <cfenv>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <dlfcn.h>
#include <linux/can.h>
#include <mqueue.h>

#include <gtest/gtest.h>

#include "support/odd_stream.h"
#include "support/printed.h"

namespace {

constexpr int signalCount = 1024;

// What sigismember answers, by signal number; null stands for libc's answers.
const std::array<int, signalCount>* answers = nullptr;
std::vector<int> asked;

}  // namespace

// This stands before libc's own, also for the library.
extern "C" int sigismember(const sigset_t* signals, int number) noexcept {
  static const auto real = reinterpret_cast<int (*)(const sigset_t*, int)>(
      dlsym(RTLD_NEXT, "sigismember"));
  if (answers == nullptr) {
    return real(signals, number);
  }
  asked.push_back(number);
  return answers->at(static_cast<std::size_t>(number));
}

namespace {

// --- printSize

struct SizeCase {
  const char* name;
  std::uint64_t bytes;
  const char* text;
};

constexpr SizeCase sizeCases[] = {
    {"Nothing", 0, "0B"},
    {"OneByte", 1, "1B"},
    {"LastPlainByteCount", 1023, "1023B"},
    {"FirstKiB", 1024, "1KiB"},
    {"BrokenKiB", 1536, "1.5KiB"},
    {"LastKiBIsRoundedUpInItsUnit", 1048575, "1024KiB"},
    {"FirstMiB", 1048576, "1MiB"},
    {"SixDigits", 123456789, "117.738MiB"},
    {"LastMiBIsRoundedUpInItsUnit", 1073741823, "1024MiB"},
    {"FirstGiB", 1073741824, "1GiB"},
    {"BrokenGiB", 1610612736, "1.5GiB"},
    {"LastGiBIsRoundedUpInItsUnit", 1099511627775, "1024GiB"},
    {"FirstTiB", 1099511627776, "1TiB"},
    {"NoUnitAboveTiB", 1ULL << 50, "1024TiB"},
    {"ExponentFromAMillionTiB", 1000000ULL << 40, "1e+06TiB"},
    {"LargestSize", std::numeric_limits<std::uint64_t>::max(),
     "1.67772e+07TiB"},
};

class PrintSizeText : public testing::TestWithParam<SizeCase> {};

TEST_P(PrintSizeText, OnADefaultStream) {
  EXPECT_EQ(printedText(printSize(GetParam().bytes)), GetParam().text);
}

TEST_P(PrintSizeText, PrintWritesTheSameAndReturnsTheStream) {
  std::ostringstream os;
  EXPECT_EQ(&printSize(GetParam().bytes).print(os), &os);
  EXPECT_EQ(os.str(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, PrintSizeText, testing::ValuesIn(sizeCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(PrintSize, HoldsOneUnsigned64BitNumber) {
  constexpr printSize size(std::numeric_limits<std::uint64_t>::max());
  static_assert(size.bytes == std::numeric_limits<std::uint64_t>::max());
  static_assert(std::is_same_v<decltype(printSize::bytes), std::uint64_t>);
  static_assert(!std::is_convertible_v<std::uint64_t, printSize>);
  static_assert(sizeof(printSize) == sizeof(std::uint64_t));
  EXPECT_EQ(printedText(size), "1.67772e+07TiB");
}

TEST(PrintSize, InternalFlagPutsASpaceBeforeTheUnit) {
  std::ostringstream os;
  os << std::internal << printSize(1536) << ',' << printSize(0);
  EXPECT_EQ(os.str(), "1.5 KiB,0 B");
}

TEST(PrintSize, WidthHoldsForNumberAndUnitTogether) {
  std::ostringstream os;
  os << std::setw(8) << printSize(1536) << '|' << std::setw(8) << printSize(7);
  EXPECT_EQ(os.str(), "  1.5KiB|      7B");
}

TEST(PrintSize, WidthHoldsForTheSpaceToo) {
  std::ostringstream os;
  os << std::internal << std::setw(8) << printSize(1536);
  EXPECT_EQ(os.str(), " 1.5 KiB");
}

TEST(PrintSize, LeftAdjustmentPadsBetweenNumberAndUnit) {
  std::ostringstream os;
  os << std::left << std::setfill('.') << std::setw(8) << printSize(1536);
  EXPECT_EQ(os.str(), "1.5..KiB");
}

TEST(PrintSize, InternalFillGoesBehindTheSign) {
  std::ostringstream os;
  os << std::internal << std::showpos << std::setfill('0') << std::setw(10)
     << printSize(1536);
  EXPECT_EQ(os.str(), "+001.5 KiB");
}

TEST(PrintSize, WidthNotAboveTheUnitsLengthIsTheNumbers) {
  std::ostringstream os;
  os << std::setw(3) << printSize(1024) << '|' << std::setw(2)
     << printSize(1024) << '|' << std::setw(1) << printSize(5);
  EXPECT_EQ(os.str(), "  1KiB| 1KiB|5B");
}

TEST(PrintSize, WidthNotAboveUnitAndSpaceIsTheNumbers) {
  std::ostringstream os;
  os << std::internal << std::setw(4) << printSize(1024) << '|' << std::setw(5)
     << printSize(1024);
  EXPECT_EQ(os.str(), "   1 KiB|1 KiB");
}

TEST(PrintSize, NegativeWidthPadsNothing) {
  std::ostringstream os;
  os.width(-8);
  os << printSize(1536);
  EXPECT_EQ(os.str(), "1.5KiB");
}

TEST(PrintSize, FixedNotationWithPrecisionHolds) {
  std::ostringstream os;
  os << std::fixed << std::setprecision(2) << printSize(1536) << ' '
     << printSize(3);
  EXPECT_EQ(os.str(), "1.50KiB 3.00B");
}

TEST(PrintSize, ScientificNotationHolds) {
  std::ostringstream os;
  os << std::scientific << std::setprecision(1) << printSize(1536);
  EXPECT_EQ(os.str(), "1.5e+00KiB");
}

TEST(PrintSize, HexadecimalModeDoesNotReachTheNumber) {
  std::ostringstream os;
  os << std::hex << std::showbase << printSize(255) << ' ' << 255;
  EXPECT_EQ(os.str(), "255B 0xff");
}

TEST(PrintSize, LeavesFlagsFillAndPrecisionAndUsesTheWidthUp) {
  std::ostringstream os;
  os.flags(oddFlags | std::ios_base::internal);
  os.fill(oddFill);
  os.precision(3);
  os << std::setw(20) << printSize(1536);
  EXPECT_EQ(os.flags(), oddFlags | std::ios_base::internal);
  EXPECT_EQ(os.fill(), oddFill);
  EXPECT_EQ(os.precision(), 3);
  EXPECT_EQ(os.width(), 0);
}

TEST(PrintSize, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(printSize(1536)));
}

// 1026 bytes are 1.001953125 KiB.
TEST(PrintSize, RoundingModeHolds) {
  struct {
    int mode;
    const char* text;
  } const cases[] = {{FE_UPWARD, "1.00196KiB"},
                     {FE_DOWNWARD, "1.00195KiB"},
                     {FE_TOWARDZERO, "1.00195KiB"},
                     {FE_TONEAREST, "1.00195KiB"}};

  const int before = std::fegetround();
  for (const auto& tested : cases) {
    std::fesetround(tested.mode);
    const std::string text = printedText(printSize(1026));
    std::fesetround(before);
    EXPECT_EQ(text, tested.text);
  }
}

std::string formattedByC(double number, std::ios_base::fmtflags notation) {
  char text[400];
  const char* format = "%.6g";
  if (notation == std::ios_base::fixed) {
    format = "%.6f";
  } else if (notation == std::ios_base::scientific) {
    format = "%.6e";
  }
  std::snprintf(text, sizeof(text), format, number);
  return text;
}

// The layout, put together without a stream.
std::string plainSize(const char* unit, double number, std::size_t width,
                      std::ios_base::fmtflags adjustment,
                      std::ios_base::fmtflags notation) {
  const bool spaced = adjustment == std::ios_base::internal;
  const std::string behind = (spaced ? " " : "") + std::string(unit);
  const std::size_t field =
      behind.size() < width ? width - behind.size() : width;
  std::string text = formattedByC(number, notation);
  const std::string padding(field - std::min(field, text.size()), '_');
  const bool left = adjustment == std::ios_base::left;
  return (left ? text + padding : padding + text) + behind;
}

TEST(PrintSize, EveryWidthAdjustmentAndNotation) {
  struct {
    std::uint64_t bytes;
    const char* unit;
    double number;
  } const sizes[] = {
      {0, "B", 0},         {1023, "B", 1023},        {1536, "KiB", 1.5},
      {1 << 20, "MiB", 1}, {5ULL << 29, "GiB", 2.5}, {3ULL << 50, "TiB", 3072}};

  const std::ios_base::fmtflags none{};
  for (const auto& size : sizes) {
    for (const auto adjustment :
         {none, std::ios_base::left, std::ios_base::right,
          std::ios_base::internal}) {
      for (const auto notation :
           {none, std::ios_base::fixed, std::ios_base::scientific}) {
        for (std::size_t width = 0; width < 24; ++width) {
          std::ostringstream os;
          os.flags(adjustment | notation);
          os << std::setfill('_') << std::setw(static_cast<int>(width))
             << printSize(size.bytes);
          EXPECT_EQ(os.str(), plainSize(size.unit, size.number, width,
                                        adjustment, notation));
          EXPECT_EQ(os.flags(), adjustment | notation);
        }
      }
    }
  }
}

// --- mq_attr

mq_attr queue(long flags, long maxmsg, long msgsize, long curmsgs) {
  mq_attr attr{};
  attr.mq_flags = flags;
  attr.mq_maxmsg = maxmsg;
  attr.mq_msgsize = msgsize;
  attr.mq_curmsgs = curmsgs;
  return attr;
}

TEST(QueueAttributes, FlagsAreHexadecimalAndTheRestDecimal) {
  EXPECT_EQ(printedText(queue(0x800, 10, 8192, 0)), "(800,10,8192,0)");
  EXPECT_EQ(printedText(queue(0xABCD, 16, 17, 18)), "(abcd,16,17,18)");
}

TEST(QueueAttributes, NegativeNumbersKeepTheirSignInDecimal) {
  const std::string flags(2 * sizeof(long), 'f');
  EXPECT_EQ(printedText(queue(-1, -2, -3, -4)), "(" + flags + ",-2,-3,-4)");
}

TEST(QueueAttributes, OddStreamChangesNothingAndIsLeftAsItWas) {
  EXPECT_EQ(printedOddly(queue(0x800, 10, 8192, 3)), "(800,10,8192,3)");
}

TEST(QueueAttributes, PendingWidthAppliesToTheParenthesisWithASpaceAsFill) {
  EXPECT_EQ(printedOddly(queue(0, 1, 2, 3), 4), "   (0,1,2,3)");
}

TEST(QueueAttributes, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(queue(0x800, 10, 8192, 3)));
}

// --- __sigset_t

sigset_t signalSet(const std::vector<int>& numbers) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : numbers) {
    // Not with sigaddset, which keeps out the two that libc uses itself.
    const auto bit = static_cast<unsigned>(number - 1);
    constexpr unsigned wordBits = 8 * sizeof(signals.__val[0]);
    signals.__val[bit / wordBits] |= 1UL << bit % wordBits;
  }
  return signals;
}

// The folded list, run by run from the sorted numbers.
std::string plainFolding(const std::vector<int>& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t last = i;
    while (last + 1 < numbers.size() &&
           numbers[last + 1] == numbers[last] + 1) {
      ++last;
    }
    text += (text.empty() ? "" : " ") + std::to_string(numbers[i]);
    if (last != i) {
      text += ".." + std::to_string(numbers[last]);
    }
    i = last + 1;
  }
  return "[" + text + "]";
}

TEST(SignalSet, EmptySet) {
  EXPECT_EQ(printedText(signalSet({})), "[]");
}

TEST(SignalSet, RunsAreFolded) {
  EXPECT_EQ(printedText(signalSet({1, 2, 3, 9, 15, 16})), "[1..3 9 15..16]");
}

TEST(SignalSet, EverySignalAlone) {
  for (int number = 1; number <= 64; ++number) {
    EXPECT_EQ(printedText(signalSet({number})),
              "[" + std::to_string(number) + "]");
  }
}

TEST(SignalSet, EveryRun) {
  for (int first = 1; first <= 64; ++first) {
    std::vector<int> numbers{first};
    for (int last = first + 1; last <= 64; ++last) {
      numbers.push_back(last);
      EXPECT_EQ(
          printedText(signalSet(numbers)),
          "[" + std::to_string(first) + ".." + std::to_string(last) + "]");
    }
  }
}

TEST(SignalSet, LastSignals) {
  EXPECT_EQ(printedText(signalSet({64})), "[64]");
  EXPECT_EQ(printedText(signalSet({63, 64})), "[63..64]");
}

TEST(SignalSet, FullSetEndsAtThePlatformsLastSignal) {
  sigset_t signals;
  std::memset(&signals, 0xFF, sizeof(signals));
  EXPECT_EQ(printedText(signals), "[1..64]");
}

TEST(SignalSet, BitsOfUnknownSignalsDoNotCount) {
  sigset_t signals;
  std::memset(&signals, 0xFF, sizeof(signals));
  std::memset(&signals, 0, 8);
  EXPECT_EQ(printedText(signals), "[]");
}

TEST(SignalSet, RandomSetsFoldAsPlainly) {
  std::mt19937_64 random(44);
  for (int round = 0; round < 3000; ++round) {
    std::uint64_t bits = random();
    if (round % 2 == 0) {
      bits |= random();  // longer runs
    }
    std::vector<int> numbers;
    for (int number = 1; number <= 64; ++number) {
      if ((bits >> (number - 1) & 1) != 0) {
        numbers.push_back(number);
      }
    }
    ASSERT_EQ(printedText(signalSet(numbers)), plainFolding(numbers));
  }
}

TEST(SignalSet, OddStreamChangesNothingAndIsLeftAsItWas) {
  EXPECT_EQ(printedOddly(signalSet({2, 15, 16})), "[2 15..16]");
  EXPECT_EQ(printedOddly(signalSet({})), "[]");
}

TEST(SignalSet, PendingWidthAppliesToTheBracketWithASpaceAsFill) {
  EXPECT_EQ(printedOddly(signalSet({9}), 3), "  [9]");
}

TEST(SignalSet, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(signalSet({1, 2, 3, 9, 15, 16})));
}

// A platform that knows other signal numbers.
class ForeignSignalSet : public testing::Test {
 protected:
  ForeignSignalSet() {
    members.fill(0);
    answers = &members;
    asked.clear();
  }

  ~ForeignSignalSet() override { answers = nullptr; }

  static std::string text() { return printedText(sigset_t{}); }

  std::array<int, signalCount> members{};
};

TEST_F(ForeignSignalSet, EveryNumberFrom0To1023IsAskedOnceInOrder) {
  std::ostringstream os;
  os << sigset_t{};
  EXPECT_EQ(os.str(), "[]");
  ASSERT_EQ(asked.size(), 1024U);
  for (int number = 0; number < signalCount; ++number) {
    EXPECT_EQ(asked[static_cast<std::size_t>(number)], number);
  }
}

TEST_F(ForeignSignalSet, OnlyAnAnswerOfExactlyOneIsAMember) {
  members[5] = -1;
  members[6] = 2;
  members[7] = 1;
  members[8] = 256;
  EXPECT_EQ(text(), "[7]");
}

TEST_F(ForeignSignalSet, ZeroCanBeAMember) {
  members[0] = 1;
  EXPECT_EQ(text(), "[0]");
  members[1] = 1;
  EXPECT_EQ(text(), "[0..1]");
}

TEST_F(ForeignSignalSet, LastNumberAloneIsWrittenAsARange) {
  members[1023] = 1;
  EXPECT_EQ(text(), "[1023..1023]");
}

TEST_F(ForeignSignalSet, LastNumberButOneAloneIsWrittenPlainly) {
  members[1022] = 1;
  EXPECT_EQ(text(), "[1022]");
}

TEST_F(ForeignSignalSet, RunUpToTheLastNumber) {
  members[3] = 1;
  members[1022] = 1;
  members[1023] = 1;
  EXPECT_EQ(text(), "[3 1022..1023]");
}

TEST_F(ForeignSignalSet, AllNumbers) {
  members.fill(1);
  EXPECT_EQ(text(), "[0..1023]");
}

TEST_F(ForeignSignalSet, MoreRunsThanAPlatformCanHave) {
  std::string expected = "[0";
  for (std::size_t number = 0; number < members.size(); number += 2) {
    members.at(number) = 1;
    expected += number == 0 ? "" : ' ' + std::to_string(number);
  }
  EXPECT_EQ(text(), expected + ']');
}

// --- can_frame

can_frame frameOf(std::uint32_t id, const std::vector<unsigned char>& bytes) {
  can_frame frame{};
  frame.can_id = id;
  frame.can_dlc = static_cast<unsigned char>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), frame.data);
  return frame;
}

struct FrameCase {
  const char* name;
  std::uint32_t id;
  std::vector<unsigned char> bytes;
  const char* text;
};

const FrameCase frameCases[] = {
    {"StandardData", 0x123, {0x01, 0xAB}, "00000123  DATA  2  01 ab"},
    {"StandardWithoutData", 0x7FF, {}, "000007ff  DATA  0 "},
    {"ExtendedRequest", 0xD8DAF110, {}, "18daf110x RTR"},
    {"RequestHasNoLengthAndNoData", 0x40000123, {1, 2}, "00000123  RTR"},
    {"ExtendedData", 0x80000001, {0xFF}, "00000001x DATA  1  ff"},
    {"ErrorFrameIsADataFrame", 0x20000004, {0}, "00000004  DATA  1  00"},
    {"AllBitsOfTheIdentifier", 0xFFFFFFFF, {}, "1fffffffx RTR"},
    {"FullLength",
     0,
     {0, 1, 2, 3, 16, 128, 254, 255},
     "00000000  DATA  8  00 01 02 03 10 80 fe ff"},
};

class CanFrame : public testing::TestWithParam<FrameCase> {};

TEST_P(CanFrame, OnADefaultStream) {
  EXPECT_EQ(printedText(frameOf(GetParam().id, GetParam().bytes)),
            GetParam().text);
}

TEST_P(CanFrame, OddStreamChangesNothingAndIsLeftAsItWas) {
  const can_frame frame = frameOf(GetParam().id, GetParam().bytes);
  EXPECT_EQ(printedOddly(frame), GetParam().text);
}

TEST_P(CanFrame, PendingWidthHasNoEffect) {
  const can_frame frame = frameOf(GetParam().id, GetParam().bytes);
  EXPECT_EQ(printedOddly(frame, 20), GetParam().text);
}

TEST_P(CanFrame, SurvivesShortBuffers) {
  EXPECT_TRUE(survivesShortBuffers(frameOf(GetParam().id, GetParam().bytes)));
}

INSTANTIATE_TEST_SUITE_P(Table, CanFrame, testing::ValuesIn(frameCases),
                         [](const auto& tested) { return tested.param.name; });

TEST(CanFrameFlags, EveryFlagCombinationAndLength) {
  for (std::uint32_t flags = 0; flags < 8; ++flags) {
    for (unsigned length = 0; length <= 8; ++length) {
      const std::uint32_t id = 0x1A2B3C4DU + length;
      std::vector<unsigned char> bytes;
      char expected[80];
      int size = std::snprintf(expected, sizeof(expected), "%08x%c",
                               static_cast<unsigned>(id & 0x1FFFFFFF),
                               (flags & 4) != 0 ? 'x' : ' ');
      std::string text(expected, static_cast<std::size_t>(size));
      for (unsigned i = 0; i < length; ++i) {
        bytes.push_back(static_cast<unsigned char>(37 * i + length));
      }
      if ((flags & 2) != 0) {
        text += " RTR";
      } else {
        text += " DATA  " + std::to_string(length) + " ";
        for (const unsigned char byte : bytes) {
          size = std::snprintf(expected, sizeof(expected), " %02x", byte);
          text.append(expected, static_cast<std::size_t>(size));
        }
      }
      EXPECT_EQ(printedText(frameOf(id | flags << 29, bytes)), text);
    }
  }
}

TEST(CanFrameFlags, EveryDataByte) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    char expected[40];
    std::snprintf(expected, sizeof(expected), "00000001  DATA  1  %02x", byte);
    EXPECT_EQ(printedText(frameOf(1, {static_cast<unsigned char>(byte)})),
              expected);
  }
}

TEST(CanFrameFlags, LengthAbove8IsNotClampedAndReadsOn) {
  // As much behind the frame as the largest length reads.
  struct {
    can_frame frame;
    unsigned char more[255];
  } longer{};

  longer.frame.can_id = 5;
  auto* const data =
      reinterpret_cast<unsigned char*>(&longer) + offsetof(can_frame, data);
  std::string bytes;
  for (unsigned length = 1; length <= 255; ++length) {
    data[length - 1] = static_cast<unsigned char>(0xA0 + length);
    char digits[8];
    std::snprintf(digits, sizeof(digits), " %02x", (0xA0 + length) % 256);
    bytes += digits;
    longer.frame.can_dlc = static_cast<unsigned char>(length);
    std::snprintf(digits, sizeof(digits), "%x", length);
    EXPECT_EQ(printedText(longer.frame),
              std::string("00000005  DATA  ") + digits + ' ' + bytes);
  }
}

}  // namespace
