// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include "qorutil/time.h"

#include <csignal>
#include <cstdint>
#include <ctime>
#include <sstream>

#include <linux/can.h>
#include <mqueue.h>
#include <sys/sysinfo.h>
#include <sys/time.h>

#include <benchmark/benchmark.h>

#include "array_buffer.h"
#include "common/plain.h"

namespace {

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
struct sysinfo make() {
  struct sysinfo info {};

  sysinfo(&info);
  return info;
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

template <class Print>
void printAgain(benchmark::State& state, Print print) {
  ArrayBuffer buffer;
  std::ostream os(&buffer);
  for (auto _ : state) {
    buffer.reset();
    print(os);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(buffer.size() * state.iterations());
}

template <class Record>
void BM_print(benchmark::State& state) {
  const auto record = make<Record>();
  printAgain(state, [&](std::ostream& os) { os << record; });
}

template <class Record>
void BM_print_plain(benchmark::State& state) {
  const auto record = make<Record>();
  printAgain(state, [&](std::ostream& os) { printPlainly(os, record); });
}

// On a stream of its own, which has to find room first.
template <class Record>
void BM_printAfresh(benchmark::State& state) {
  const auto record = make<Record>();
  for (auto _ : state) {
    std::ostringstream os;
    os << record;
    benchmark::DoNotOptimize(os.str());
  }
}

template <class Record>
void BM_printAfresh_plain(benchmark::State& state) {
  const auto record = make<Record>();
  for (auto _ : state) {
    std::ostringstream os;
    printPlainly(os, record);
    benchmark::DoNotOptimize(os.str());
  }
}

#define RECORD_BENCHMARK(record)              \
  BENCHMARK_TEMPLATE(BM_print, record);       \
  BENCHMARK_TEMPLATE(BM_print_plain, record); \
  BENCHMARK_TEMPLATE(BM_printAfresh, record); \
  BENCHMARK_TEMPLATE(BM_printAfresh_plain, record)

RECORD_BENCHMARK(printSize);
RECORD_BENCHMARK(mq_attr);
RECORD_BENCHMARK(can_frame);
RECORD_BENCHMARK(tm);
RECORD_BENCHMARK(timeval);
RECORD_BENCHMARK(timespec);
BENCHMARK_TEMPLATE(BM_print, sigset_t);
BENCHMARK_TEMPLATE(BM_print, struct sysinfo);

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
