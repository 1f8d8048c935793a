// SPDX-License-Identifier: MIT

#include "qorutil/version.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "app/plain_version.h"
#include "printers.h"

namespace {

// A version behind `size` bytes of text without one.
std::string firmwareText(const benchmark::State& state) {
  const std::string word = "board 7 ";
  std::string text;
  while (text.size() < static_cast<std::size_t>(state.range(0))) {
    text += word;
  }
  return text + "fw 2.7-13 build";
}

template <class Find>
void findAgain(benchmark::State& state, Find find) {
  const std::string text = firmwareText(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(find(text));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) *
                          state.iterations());
}

void BM_getVersion(benchmark::State& state) {
  findAgain(state, Version::getVersion);
}

BENCHMARK(BM_getVersion)->Arg(0)->Arg(100)->Arg(10000);

// Compiles the pattern for each search.
void BM_getVersion_regcomp(benchmark::State& state) {
  findAgain(state, qorutil_internal::getVersionPlainly);
}

BENCHMARK(BM_getVersion_regcomp)->Arg(0)->Arg(100)->Arg(10000);

template <class Compare>
void compareAgain(benchmark::State& state, Compare compare) {
  std::string a = "1";
  for (std::int64_t part = 1; part < state.range(0); ++part) {
    a += ".10";
  }
  const std::string b = a + "7";
  for (auto _ : state) {
    benchmark::DoNotOptimize(compare(a, b, -1));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(a.size() + b.size()) *
                          state.iterations());
}

void BM_compareVersions(benchmark::State& state) {
  compareAgain(state, compareVersions);
}

BENCHMARK(BM_compareVersions)->Arg(2)->Arg(4)->Arg(40);

// split() and strtoll().
void BM_compareVersions_split(benchmark::State& state) {
  compareAgain(state, qorutil_internal::compareVersionsPlainly);
}

BENCHMARK(BM_compareVersions_split)->Arg(2)->Arg(4)->Arg(40);

const Version version(1, 20, 300, 4000);
const bool added = addPrinter(
    "Version", [](std::ostream& os) { os << version; },
    [](std::ostream& os) { qorutil_internal::printPlainly(os, version); });

}  // namespace
