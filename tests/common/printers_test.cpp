// SPDX-License-Identifier: MIT
//
// Every printer on streams in odd formats, and on streams that fail: what it
// writes there and what it leaves behind.

#include "qorutil/exception.h"
#include "qorutil/formatting.h"
#include "qorutil/options.h"
#include "qorutil/scheduler.h"
#include "qorutil/system.h"
#include "qorutil/time.h"
#include "qorutil/version.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <iomanip>
#include <iostream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/socket.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

struct PrinterCase {
  const char* name;
  void (*print)(std::ostream& os);
  const char* text;  // with oddFlags, the fill '*' and the width 16 pending
  bool pieceByPiece{false};
  bool keepsBase{false};  // of the caller; composed in decimal
};

void PrintTo(const PrinterCase& printer, std::ostream* os) {
  *os << printer.name;
}

constexpr auto oddFlags = std::ios_base::oct | std::ios_base::left |
                          std::ios_base::showbase | std::ios_base::showpos |
                          std::ios_base::uppercase | std::ios_base::scientific;
constexpr char oddFill = '*';
constexpr int oddWidth = 16;

const unsigned char twoBytes[] = {0x01, 0xAB};
const unsigned char* const two = twoBytes;

const PrinterCase printers[] = {
    {"Hexdump",
     [](std::ostream& os) {
       hexdump(os, two, two + 2, "rx", 1, HEXDUMP_OFFSET, true);
     },
     "00000000000000rx 00000000:  01\nrx 00000001:  ab\n"},
    {"HexdumpOfNothing",
     [](std::ostream& os) {
       hexdump(os, two, two, "rx", 1, HEXDUMP_OFFSET, true);
     },
     "00000000000000rx 00000000:\n\n", true},
    {"BinaryBase", [](std::ostream& os) { BinaryBase::print(os, 0xA5, 8); },
     "10100101        "},
    {"Binary", [](std::ostream& os) { os << Binary{'a'}; }, "01100001        "},
    {"PrintEscaped", [](std::ostream& os) { printEscaped(os, "a\x1B"); },
     "000000000000000\"a\\x1b\""},
    {"PrintPrintable", [](std::ostream& os) { printPrintable(os, "a\x1B"); },
     "a***************."},
    {"PrintSeparatedList",
     [](std::ostream& os) {
       printSeparatedList(os, {{true, "a"}, {true, "b"}}, "|", "none");
     },
     "****************a|b"},
    {"PrintUnknownEnum", [](std::ostream& os) { printUnknownEnum(os, 0xAB); },
     "0000<unknown: 0xab>"},
    {"FormatFlags", [](std::ostream& os) { os << std::ios_base::dec; },
     "               ( dec )"},
    {"Tm", [](std::ostream& os) { os << tm{}; }, "1900-01-00 00:00:00"},
    {"Timeval",
     [](std::ostream& os) {
       os << timeval{3661, 5};
     },
     "01:01:01.000005"},
    {"Timespec",
     [](std::ostream& os) {
       os << timespec{3661, 5};
     },
     "01:01:01.000000005"},
    {"Job",
     [](std::ostream& os) {
       JobScheduler::Job job;
       job.period = std::chrono::nanoseconds(1000);
       job.next += std::chrono::nanoseconds(8);
       os << job;
     },
     "(***************01750 ns,0 ns,010 ns)", false, true},
    {"Version",
     [](std::ostream& os) {
       os << Version{1, 20, 3, 4};
     },
     "***************1.20.3.4"},
    {"QorException",
     [](std::ostream& os) { os << QorException(0, "device lost"); },
     "device lost*****"},
    {"QorSimpleException",
     [](std::ostream& os) {
       os << QorSimpleException{EIO, "device lost"};
     },
     "device lost*****"},
    {"Options",
     [](std::ostream& os) {
       Options options{optionHelp, optionLoops};
       options.update();
       options.print(os);
     },
     "               -h          --help          This screen.\n"
     "-l <loops>  --loops=<loops> Loop count (0..max), default=0=forever.\n",
     true},
    {"MqAttr",
     [](std::ostream& os) {
       mq_attr attr{};
       attr.mq_flags = 0xAB;
       attr.mq_maxmsg = 10;
       os << attr;
     },
     "               (ab,10,0,0)"},
    {"SignalSet",
     [](std::ostream& os) {
       sigset_t signals;
       sigemptyset(&signals);
       for (const int signal : {1, 2, 9}) {
         sigaddset(&signals, signal);
       }
       os << signals;
     },
     "               [1..2 9]"},
    {"CanFrame",
     [](std::ostream& os) {
       can_frame frame{};
       frame.can_id = 0x123;
       frame.can_dlc = 1;
       frame.data[0] = 0xAB;
       os << frame;
     },
     "00000123  DATA  1  ab"},
    // These two print in the caller's format and set none of their own.
    {"PrintSize", [](std::ostream& os) { os << printSize(1024); },
     "+1.000000E+00KiB"},
    {"Sysinfo",
     [](std::ostream& os) {
       struct sysinfo info {};
       info.uptime = 8;
       info.mem_unit = 8;
       info.totalram = 128;
       os << info;
     },
     "up=*************010 load=0/0/0 totalram=+1.000000E+00KiB "
     "freeram=+0.000000E+00B sharedram=+0.000000E+00B "
     "bufferram=+0.000000E+00B totalswap=+0.000000E+00B "
     "freeswap=+0.000000E+00B procs=0 totalhigh=+0.000000E+00B "
     "freehigh=+0.000000E+00B mem_unit=010",
     false, true},
};

// Takes `capacity` characters; the next one fails, by the result of overflow()
// or by an exception.
class FailingBuffer : public std::streambuf {
 public:
  FailingBuffer(std::size_t characters, bool withException)
      : capacity(characters), throws(withException) {}

  std::string text;

 protected:
  int_type overflow(int_type character) override {
    if (text.size() < capacity) {
      text += traits_type::to_char_type(character);
      return character;
    }
    if (throws) {
      throw capacity;
    }
    return traits_type::eof();
  }

 private:
  std::size_t capacity;
  bool throws;
};

// Counts the insertions, whatever they bring.
class CountingBuffer : public std::streambuf {
 public:
  int insertions{0};

 protected:
  std::streamsize xsputn(const char* /*from*/, std::streamsize count) override {
    ++insertions;
    return count;
  }

  int_type overflow(int_type character) override {
    ++insertions;
    return traits_type::not_eof(character);
  }
};

void makeOdd(std::ostream& os) {
  os.flags(oddFlags);
  os << std::setfill(oddFill) << std::setw(oddWidth);
}

void expectOdd(const std::ostream& os) {
  EXPECT_EQ(os.flags(), oddFlags);
  EXPECT_EQ(os.fill(), oddFill);
}

// Runs the printer once for each place where the stream can fail.
void failEverywhere(
    const PrinterCase& printer, bool withException,
    const std::function<void(std::ostream& os)>& printAndCheck) {
  const std::string whole = printer.text;
  for (std::size_t taken = 0; taken < whole.size(); ++taken) {
    FailingBuffer buffer(taken, withException);
    std::ostream os(&buffer);
    makeOdd(os);
    printAndCheck(os);
    EXPECT_TRUE(os.bad()) << "after " << taken;
    EXPECT_EQ(buffer.text, whole.substr(0, taken));
    expectOdd(os);
  }
}

class Printers : public testing::TestWithParam<PrinterCase> {};

TEST_P(Printers, OddFormatAndPendingWidth) {
  std::ostringstream os;
  makeOdd(os);
  GetParam().print(os);
  EXPECT_EQ(os.str(), GetParam().text);
  EXPECT_TRUE(os.good());
  EXPECT_EQ(os.width(), 0);
  expectOdd(os);
}

TEST_P(Printers, EveryCombinationOfFlagsComesBack) {
  std::ostringstream os;
  for (int bits = 0; bits < 0x8000; ++bits) {
    const auto flags = static_cast<std::ios_base::fmtflags>(bits);
    os.str("");
    os.flags(flags);
    os.fill(oddFill);
    GetParam().print(os);
    ASSERT_EQ(os.flags(), flags);
    ASSERT_EQ(os.fill(), oddFill);
    ASSERT_NE(os.str(), "");
  }
}

TEST_P(Printers, FormatComesBackWhenTheStreamFails) {
  failEverywhere(GetParam(), false, GetParam().print);
}

TEST_P(Printers, FormatComesBackWhenTheBufferThrows) {
  failEverywhere(GetParam(), true, GetParam().print);
}

TEST_P(Printers, FormatComesBackWhenTheStreamThrows) {
  failEverywhere(GetParam(), false, [](std::ostream& os) {
    os.exceptions(std::ios_base::badbit);
    EXPECT_THROW(GetParam().print(os), std::ios_base::failure);
  });
}

TEST_P(Printers, FormatComesBackWhenAnExceptionOfTheBufferPassesOn) {
  failEverywhere(GetParam(), true, [](std::ostream& os) {
    os.exceptions(std::ios_base::badbit);
    EXPECT_THROW(GetParam().print(os), std::size_t);
  });
}

TEST_P(Printers, InsertOnceOnAnOrdinaryStream) {
  if (GetParam().pieceByPiece) {
    GTEST_SKIP() << "prints piece by piece";
  }
  CountingBuffer buffer;
  std::ostream os(&buffer);
  GetParam().print(os);
  EXPECT_EQ(buffer.insertions, 1);
  os << std::unitbuf << std::setfill('*');
  if (!GetParam().keepsBase) {
    os << std::hex;
  }
  GetParam().print(os);
  EXPECT_EQ(buffer.insertions, 2);
}

// Every write to a socket of this kind is a message.
class MessagesOfCerr {
 public:
  MessagesOfCerr() : saved(dup(STDERR_FILENO)) {
    socketpair(AF_UNIX, SOCK_DGRAM, 0, ends);
    dup2(ends[0], STDERR_FILENO);
  }

  MessagesOfCerr(const MessagesOfCerr&) = delete;
  MessagesOfCerr& operator=(const MessagesOfCerr&) = delete;

  ~MessagesOfCerr() {
    dup2(saved, STDERR_FILENO);
    for (const int descriptor : {saved, ends[0], ends[1]}) {
      close(descriptor);
    }
  }

  // Returns the next message, or an empty text where there is none.
  std::string next() const {
    char text[1000];
    const ssize_t size = recv(ends[1], text, sizeof(text), MSG_DONTWAIT);
    return {text, static_cast<std::size_t>(size > 0 ? size : 0)};
  }

 private:
  int saved;
  int ends[2] = {-1, -1};
};

TEST_P(Printers, WriteOnceToStandardError) {
  if (GetParam().pieceByPiece) {
    GTEST_SKIP() << "prints piece by piece";
  }
  std::ostringstream expected;
  GetParam().print(expected);
  const MessagesOfCerr messages;
  GetParam().print(std::cerr);
  EXPECT_EQ(messages.next(), expected.str());
  EXPECT_EQ(messages.next(), "");
}

INSTANTIATE_TEST_SUITE_P(Table, Printers, testing::ValuesIn(printers),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
