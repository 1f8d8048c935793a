// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <limits>
#include <ostream>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/sysinfo.h>

#include "common/insertion.h"
#include "common/line_buffer.h"
#include "common/stream_state.h"
#include "sys/plain_records.h"

namespace {

using qorutil_internal::insertRecord;
using qorutil_internal::insertText;
using qorutil_internal::LineBuffer;
using qorutil_internal::printPlainly;
using qorutil_internal::takesNumbers;

// From the start of the record, as a length above 8 leaves the array.
const unsigned char* dataOf(const can_frame& frame) {
  return reinterpret_cast<const unsigned char*>(&frame) +
         offsetof(can_frame, data);
}

struct unit_t {
  unsigned shift;
  const char* suffix;
};

constexpr unit_t units[] = {
    {40, "TiB"},
    {30, "GiB"},
    {20, "MiB"},
    {10, "KiB"},
};

constexpr unit_t bytesUnit{0, "B"};

const unit_t& unitOf(std::uint64_t bytes) {
  for (const unit_t& unit : units) {
    if (bytes >> unit.shift != 0) {
      return unit;
    }
  }
  return bytesUnit;
}

// Numbers in the default notation, below 1024 units: exact as a double, and
// without an exponent.
bool isOrdinary(const std::ostream& os, std::uint64_t bytes) {
  constexpr auto odd = std::ios_base::floatfield | std::ios_base::showpoint |
                       std::ios_base::showpos;
  return (os.flags() & odd) == 0 && os.precision() == 6 && bytes >> 50 == 0;
}

// The process may have chosen another rounding mode.
bool roundsToNearest() {
  const volatile double one = 1;
  const volatile double tiny = 1e-30;
  return one + tiny == one && one - tiny == one;
}

struct Quotient {
  unsigned whole;
  unsigned fraction;  // in units of the last of the digits
  unsigned digits;    // of the fraction
};

// bytes / 2^shift to six significant digits, to the nearest and the even one of
// two, as printf does it.
Quotient rounded(std::uint64_t bytes, unsigned shift) {
  Quotient result{static_cast<unsigned>(bytes >> shift), 0, 5};
  std::uint64_t scale = 100000;
  for (unsigned limit = 10; result.whole >= limit; limit *= 10) {
    scale /= 10;
    --result.digits;
  }
  const std::uint64_t one = std::uint64_t{1} << shift;
  const std::uint64_t scaled = (bytes & (one - 1)) * scale;
  std::uint64_t fraction = scaled >> shift;
  const std::uint64_t rest = scaled & (one - 1);
  if (2 * rest > one || (2 * rest == one && fraction % 2 != 0)) {
    ++fraction;
  }
  if (fraction == scale) {
    ++result.whole;
    fraction = 0;
  }
  result.fraction = static_cast<unsigned>(fraction);
  return result;
}

void putQuotient(LineBuffer& line, Quotient number) {
  line.decimal(number.whole);
  if (number.fraction == 0) {
    return;
  }
  while (number.fraction % 10 == 0) {
    number.fraction /= 10;
    --number.digits;
  }
  line.put('.').decimal(number.fraction, number.digits);
}

void putSize(LineBuffer& line, const std::ostream& os, std::uint64_t bytes) {
  const unit_t& unit = unitOf(bytes);
  putQuotient(line, rounded(bytes, unit.shift));
  if ((os.flags() & std::ios_base::internal) != 0) {
    line.put(' ');
  }
  line.put(unit.suffix);
}

struct NamedSize {
  const char* name;
  std::uint64_t bytes;
};

struct MemorySizes {
  std::array<NamedSize, 6> beforeProcs;
  std::array<NamedSize, 2> behindProcs;
};

MemorySizes sizesOf(const struct sysinfo& info) {
  const std::uint64_t unit = info.mem_unit;
  return {{{{" totalram=", unit * info.totalram},
            {" freeram=", unit * info.freeram},
            {" sharedram=", unit * info.sharedram},
            {" bufferram=", unit * info.bufferram},
            {" totalswap=", unit * info.totalswap},
            {" freeswap=", unit * info.freeswap}}},
          {{{" totalhigh=", unit * info.totalhigh},
            {" freehigh=", unit * info.freehigh}}}};
}

// False where a size or a load is not ordinary.
bool putInfo(LineBuffer& line, const std::ostream& os,
             const struct sysinfo& info) {
  bool ordinary = true;
  const auto putLoad = [&](std::uint64_t load) {
    ordinary = ordinary && load <= std::numeric_limits<std::int64_t>::max();
    line.decimal(static_cast<std::int64_t>(load));
  };
  const auto putSizes = [&](const auto& sizes) {
    for (const NamedSize& size : sizes) {
      ordinary = ordinary && isOrdinary(os, size.bytes);
      if (ordinary) {
        line.put(size.name);
        putSize(line, os, size.bytes);
      }
    }
  };
  const MemorySizes sizes = sizesOf(info);
  line.put("up=").decimal(info.uptime).put(" load=");
  putLoad(info.loads[0]);
  line.put('/');
  putLoad(info.loads[1]);
  line.put('/');
  putLoad(info.loads[2]);
  putSizes(sizes.beforeProcs);
  line.put(" procs=").decimal(info.procs);
  putSizes(sizes.behindProcs);
  line.put(" mem_unit=").decimal(info.mem_unit);
  return ordinary;
}

constexpr int signalCount = 8 * sizeof(__sigset_t);

bool isMember(const __sigset_t& signals, int number) {
  return sigismember(&signals, number) == 1;
}

// Calls `take(first, last)` for every run of members; every number is asked
// for once, in order.
template <class Take>
void forEachRun(const __sigset_t& signals, Take take) {
  for (int number = 0; number < signalCount; ++number) {
    if (!isMember(signals, number)) {
      continue;
    }
    const int first = number;
    do {
      ++number;
    } while (number < signalCount && isMember(signals, number));
    take(first, number - 1);
  }
}

// A run that the numbers end has a last member in any case.
bool hasLast(int first, int last) {
  return first != last || last == signalCount - 1;
}

// False when there are more runs than a line has room for, which takes more
// signals than the C libraries know.
bool putSignals(LineBuffer& line, const __sigset_t& signals) {
  constexpr std::size_t longestRun = 11;
  bool fits = true;
  const char* gap = "";
  line.put('[');
  forEachRun(signals, [&](int first, int last) {
    fits = line.room() > longestRun;
    if (!fits) {
      return;
    }
    line.put(gap).decimal(first);
    if (hasLast(first, last)) {
      line.put("..").decimal(last);
    }
    gap = " ";
  });
  line.put(']');
  return fits;
}

void putFrame(LineBuffer& line, const can_frame& frame) {
  line.hexadecimal(frame.can_id & CAN_EFF_MASK, 8);
  line.put((frame.can_id & CAN_EFF_FLAG) != 0 ? 'x' : ' ');
  if ((frame.can_id & CAN_RTR_FLAG) != 0) {
    line.put(" RTR");
    return;
  }
  line.put(" DATA  ").hexadecimal(frame.can_dlc).put(' ');
  line.hexBytes(dataOf(frame), frame.can_dlc);
}

// Prints the record to any stream.
template <class Record>
auto plainWay(const Record& record) {
  return [&record](std::ostream& os) { printPlainly(os, record); };
}

}  // namespace

namespace qorutil_internal {

std::ostream& printPlainly(std::ostream& os, const printSize& size) {
  const unit_t& unit = unitOf(size.bytes);
  const bool spaced = (os.flags() & std::ios_base::internal) != 0;
  const auto behind = static_cast<std::streamsize>(std::strlen(unit.suffix)) +
                      static_cast<std::streamsize>(spaced);
  if (behind < os.width()) {
    os.width(os.width() - behind);
  }
  const auto divisor = static_cast<double>(std::uint64_t{1} << unit.shift);
  os << static_cast<double>(size.bytes) / divisor;
  if (spaced) {
    os << ' ';
  }
  return os << unit.suffix;
}

std::ostream& printPlainly(std::ostream& os, const struct sysinfo& info) {
  const auto printSizes = [&os](const auto& sizes) {
    for (const NamedSize& size : sizes) {
      os << size.name;
      printPlainly(os, printSize(size.bytes));
    }
  };
  const MemorySizes sizes = sizesOf(info);
  os << "up=" << info.uptime << " load=" << info.loads[0] << '/'
     << info.loads[1] << '/' << info.loads[2];
  printSizes(sizes.beforeProcs);
  os << " procs=" << info.procs;
  printSizes(sizes.behindProcs);
  return os << " mem_unit=" << info.mem_unit;
}

std::ostream& printPlainly(std::ostream& os, const mq_attr& attr) {
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  os << '(' << std::hex << attr.mq_flags << std::dec << ',' << attr.mq_maxmsg;
  return os << ',' << attr.mq_msgsize << ',' << attr.mq_curmsgs << ')';
}

std::ostream& printPlainly(std::ostream& os, const __sigset_t& signals) {
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  os << '[';
  const char* gap = "";
  forEachRun(signals, [&](int first, int last) {
    os << gap << first;
    if (hasLast(first, last)) {
      os << ".." << last;
    }
    gap = " ";
  });
  return os << ']';
}

std::ostream& printPlainly(std::ostream& os, const can_frame& frame) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  os << std::setw(8) << (frame.can_id & CAN_EFF_MASK)
     << ((frame.can_id & CAN_EFF_FLAG) != 0 ? 'x' : ' ');
  if ((frame.can_id & CAN_RTR_FLAG) != 0) {
    return os << " RTR";
  }
  os << " DATA  " << unsigned{frame.can_dlc} << ' ';
  const unsigned char* const data = dataOf(frame);
  for (unsigned i = 0; i < frame.can_dlc; ++i) {
    os << ' ' << std::setw(2) << unsigned{data[i]};
  }
  return os;
}

}  // namespace qorutil_internal

std::ostream& printSize::print(std::ostream& os) const {
  if (!isOrdinary(os, bytes) || !takesNumbers(os) || !roundsToNearest()) {
    return printPlainly(os, *this);
  }
  LineBuffer line;
  putSize(line, os, bytes);
  insertText(os, line.view(), plainWay(*this));
  return os;
}

std::ostream& operator<<(std::ostream& os, const printSize& size) {
  return size.print(os);
}

std::ostream& operator<<(std::ostream& os, const struct sysinfo& info) {
  constexpr auto otherBase = std::ios_base::hex | std::ios_base::oct;
  LineBuffer line;
  if ((os.flags() & otherBase) != 0 || !takesNumbers(os) ||
      !roundsToNearest() || !putInfo(line, os, info)) {
    return printPlainly(os, info);
  }
  insertText(os, line.view(), plainWay(info));
  return os;
}

std::ostream& operator<<(std::ostream& os, const mq_attr& attr) {
  if (!takesNumbers(os)) {
    return printPlainly(os, attr);
  }
  LineBuffer line;
  line.put('(').hexadecimal(static_cast<unsigned long>(attr.mq_flags));
  line.put(',').decimal(attr.mq_maxmsg).put(',').decimal(attr.mq_msgsize);
  line.put(',').decimal(attr.mq_curmsgs).put(')');
  insertRecord(os, line.view(), plainWay(attr));
  return os;
}

std::ostream& operator<<(std::ostream& os, const __sigset_t& signals) {
  LineBuffer line;
  if (!takesNumbers(os) || !putSignals(line, signals)) {
    return printPlainly(os, signals);
  }
  insertRecord(os, line.view(), plainWay(signals));
  return os;
}

std::ostream& operator<<(std::ostream& os, const can_frame& frame) {
  if (!takesNumbers(os)) {
    return printPlainly(os, frame);
  }
  LineBuffer line;
  putFrame(line, frame);
  insertRecord(os, line.view(), plainWay(frame));
  return os;
}
