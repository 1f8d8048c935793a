// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include "qorutil/time.h"

#include <csignal>
#include <cstdint>
#include <ctime>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/sysinfo.h>
#include <sys/time.h>

#include <benchmark/benchmark.h>

#include "printers.h"
#include "sys/plain_records.h"

namespace {

using qorutil_internal::printPlainly;
using qorutil_internal::printTimePlainly;

// Makes a record of each kind.
template <class Record>
Record make();

template <>
printSize make() {
  return printSize(123456789);
}

template <>
mq_attr make() {
  mq_attr attr{};
  attr.mq_flags = 0x800;
  attr.mq_maxmsg = 10;
  attr.mq_msgsize = 8192;
  return attr;
}

template <>
can_frame make() {
  return {0x123, 8, 0, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
}

template <>
sigset_t make() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {1, 2, 3, 9, 15, 16}) {
    sigaddset(&signals, number);
  }
  return signals;
}

template <>
tm make() {
  tm time{};
  time.tm_year = 126;
  time.tm_mon = 10;
  time.tm_mday = 15;
  return time;
}

template <>
timeval make() {
  return {1700000000, 4200};
}

template <>
timespec make() {
  return {1700000000, 4200};
}

template <class Record>
bool addRecord(const char* name) {
  const auto record = make<Record>();
  return addPrinter(
      name, [record](std::ostream& os) { os << record; },
      [record](std::ostream& os) { printPlainly(os, record); });
}

// Not copied: its padding of no length makes the compiler warn.
bool addSysinfo() {
  static struct sysinfo info {};

  info.uptime = 3600;
  info.totalram = 262144;
  info.freeram = 123456;
  info.bufferram = 384;
  info.procs = 171;
  info.mem_unit = 4096;
  return addPrinter(
      "sysinfo", [](std::ostream& os) { os << info; },
      [](std::ostream& os) { printPlainly(os, info); });
}

const bool added[] = {
    addRecord<printSize>("printSize"), addSysinfo(),
    addRecord<mq_attr>("mq_attr"),     addRecord<can_frame>("can_frame"),
    addRecord<sigset_t>("sigset_t"),   addRecord<tm>("tm"),
    addRecord<timeval>("timeval"),     addRecord<timespec>("timespec"),
};

constexpr std::uint64_t someTime = 1700000000123456;

void BM_printTime(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(printTime(someTime));
  }
}

BENCHMARK(BM_printTime);

void BM_printTime_plain(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(printTimePlainly(someTime));
  }
}

BENCHMARK(BM_printTime_plain);

}  // namespace
