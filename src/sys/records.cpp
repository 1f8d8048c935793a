// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <csignal>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <ostream>

#include <linux/can.h>
#include <mqueue.h>

#include "common/stream_state.h"

namespace {

struct unit_t {
  std::uint64_t divisor;
  const char* suffix;
};

constexpr unit_t units[] = {
    {std::uint64_t{1} << 40, "TiB"},
    {std::uint64_t{1} << 30, "GiB"},
    {std::uint64_t{1} << 20, "MiB"},
    {std::uint64_t{1} << 10, "KiB"},
};

constexpr unit_t bytesUnit{1, "B"};

const unit_t& unitOf(std::uint64_t bytes) {
  for (const unit_t& unit : units) {
    if (bytes >= unit.divisor) {
      return unit;
    }
  }
  return bytesUnit;
}

}  // namespace

std::ostream& printSize::print(std::ostream& os) const {
  const unit_t& unit = unitOf(bytes);
  const bool spaced = (os.flags() & std::ios_base::internal) != 0;
  const auto behind = static_cast<std::streamsize>(std::strlen(unit.suffix)) +
                      static_cast<std::streamsize>(spaced);
  if (behind < os.width()) {
    os.width(os.width() - behind);
  }
  os << static_cast<double>(bytes) / static_cast<double>(unit.divisor);
  if (spaced) {
    os << ' ';
  }
  return os << unit.suffix;
}

std::ostream& operator<<(std::ostream& os, const printSize& size) {
  return size.print(os);
}

std::ostream& operator<<(std::ostream& os, const mq_attr& attr) {
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  os << '(' << std::hex << attr.mq_flags << std::dec << ',' << attr.mq_maxmsg;
  return os << ',' << attr.mq_msgsize << ',' << attr.mq_curmsgs << ')';
}

std::ostream& operator<<(std::ostream& os, const __sigset_t& signals) {
  constexpr int signalCount = 8 * sizeof(__sigset_t);
  constexpr int noRun = -1;
  const StreamState restored(os);
  os.flags(std::ios_base::fixed);
  os.fill(' ');
  os << '[';
  int runStart = noRun;
  bool anyWritten = false;
  for (int number = 0; number < signalCount; ++number) {
    const bool member = sigismember(&signals, number) == 1;
    if (member && runStart == noRun) {
      os << (anyWritten ? " " : "") << number;
      runStart = number;
      anyWritten = true;
    } else if (!member && runStart != noRun) {
      if (number - 1 != runStart) {
        os << ".." << number - 1;
      }
      runStart = noRun;
    }
  }
  if (runStart != noRun) {
    os << ".." << signalCount - 1;
  }
  return os << ']';
}

std::ostream& operator<<(std::ostream& os, const can_frame& frame) {
  const StreamState restored(os);
  os.flags(std::ios_base::hex | std::ios_base::fixed);
  os.fill('0');
  os << std::setw(8) << (frame.can_id & CAN_EFF_MASK)
     << ((frame.can_id & CAN_EFF_FLAG) != 0 ? 'x' : ' ');
  if ((frame.can_id & CAN_RTR_FLAG) != 0) {
    return os << " RTR";
  }
  os << " DATA  " << unsigned{frame.can_dlc} << ' ';
  // From the start of the record, as a length above 8 leaves the array.
  const auto* data = reinterpret_cast<const unsigned char*>(&frame) +
                     offsetof(can_frame, data);
  for (unsigned i = 0; i < frame.can_dlc; ++i) {
    os << ' ' << std::setw(2) << unsigned{data[i]};
  }
  return os;
}
