// SPDX-License-Identifier: MIT
//
// Measures a printer, and its plain way, on the streams that programs print to:
// a string stream with its making and its end, one that has grown already, a
// file stream, and std::cout as it is. The devices swallow everything.

#ifndef QORUTIL_BENCHMARKS_PRINTERS_H
#define QORUTIL_BENCHMARKS_PRINTERS_H

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

/// A string buffer that can be used again at no cost.
class RewoundBuffer : public std::stringbuf {
 public:
  RewoundBuffer() : std::stringbuf(std::string(1 << 16, ' ')) {}

  /// Begins again.
  void rewind() { setp(pbase(), epptr()); }
};

/// Leads the standard output of the process to /dev/null as long as it lives.
class SilentOutput {
 public:
  SilentOutput() : saved(dup(STDOUT_FILENO)) {
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    redirect(null);
    close(null);
  }

  SilentOutput(const SilentOutput&) = delete;
  SilentOutput& operator=(const SilentOutput&) = delete;

  ~SilentOutput() {
    redirect(saved);
    close(saved);
  }

 private:
  static void redirect(int descriptor) {
    std::fflush(stdout);
    dup2(descriptor, STDOUT_FILENO);
  }

  int saved;
};

template <class Print>
void printFresh(benchmark::State& state, Print print) {
  for (auto _ : state) {
    std::ostringstream os;
    print(os);
    benchmark::DoNotOptimize(&os);
    benchmark::ClobberMemory();
  }
}

template <class Print>
void printUsed(benchmark::State& state, Print print) {
  RewoundBuffer buffer;
  std::ostream os(&buffer);
  for (auto _ : state) {
    buffer.rewind();
    print(os);
    benchmark::ClobberMemory();
  }
}

template <class Print>
void printFile(benchmark::State& state, Print print) {
  std::ofstream os("/dev/null");
  for (auto _ : state) {
    print(os);
  }
}

template <class Print>
void printCout(benchmark::State& state, Print print) {
  const SilentOutput silent;
  for (auto _ : state) {
    print(std::cout);
  }
}

template <class Print>
void addPrinter(const std::string& name, Print print) {
  benchmark::RegisterBenchmark((name + "/fresh").c_str(), printFresh<Print>,
                               print);
  benchmark::RegisterBenchmark((name + "/used").c_str(), printUsed<Print>,
                               print);
  benchmark::RegisterBenchmark((name + "/file").c_str(), printFile<Print>,
                               print);
  benchmark::RegisterBenchmark((name + "/cout").c_str(), printCout<Print>,
                               print);
}

/// Adds the rows of a printer and of its plain way. True, so that it can begin
/// a constant.
template <class Fast, class Plain>
bool addPrinter(const std::string& name, Fast fast, Plain plain) {
  addPrinter("BM_print<" + name + ">", fast);
  addPrinter("BM_print_plain<" + name + ">", plain);
  return true;
}

#endif  // QORUTIL_BENCHMARKS_PRINTERS_H
