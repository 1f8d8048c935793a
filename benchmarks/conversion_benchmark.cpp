// SPDX-License-Identifier: MIT

#include "qorutil/conversion.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <iconv.h>

#include <benchmark/benchmark.h>

namespace {

// Three letters of four are ASCII.
std::string isoText(const benchmark::State& state) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(state.range(0))) {
    text += "abc\xE4";
  }
  return text;
}

// What a user writes who needs no more than this.
std::string bareConversion(const std::string& text, const char* target,
                           const char* source) {
  const iconv_t descriptor = iconv_open(target, source);
  std::string result(2 * text.size(), '\0');
  char* in = const_cast<char*>(text.data());
  std::size_t inLeft = text.size();
  char* out = result.data();
  std::size_t outLeft = result.size();
  if (iconv(descriptor, &in, &inLeft, &out, &outLeft) != 0) {
    result.clear();
  }
  iconv_close(descriptor);
  result.resize(result.size() - outLeft);
  return result;
}

template <class Convert>
void convertAgain(benchmark::State& state, const std::string& text,
                  Convert convert) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(text));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) *
                          state.iterations());
}

std::string toUtf8(const std::string& text) {
  return IsoToUtf8Converter(text);
}

std::string toIso(const std::string& text) {
  return Utf8ToIsoConverter(text);
}

std::string bareToUtf8(const std::string& text) {
  return bareConversion(text, "UTF-8", "ISO-8859-1");
}

std::string bareToIso(const std::string& text) {
  return bareConversion(text, "ISO-8859-1", "UTF-8");
}

void BM_IsoToUtf8Converter(benchmark::State& state) {
  convertAgain(state, isoText(state), toUtf8);
}

BENCHMARK(BM_IsoToUtf8Converter)
    ->Arg(4)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(1100)
    ->Arg(1 << 20);

void BM_IsoToUtf8_iconv(benchmark::State& state) {
  convertAgain(state, isoText(state), bareToUtf8);
}

BENCHMARK(BM_IsoToUtf8_iconv)
    ->Arg(4)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(1100)
    ->Arg(1 << 20);

void BM_Utf8ToIsoConverter(benchmark::State& state) {
  convertAgain(state, toUtf8(isoText(state)), toIso);
}

BENCHMARK(BM_Utf8ToIsoConverter)
    ->Arg(4)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(1100)
    ->Arg(1 << 20);

void BM_Utf8ToIso_iconv(benchmark::State& state) {
  convertAgain(state, toUtf8(isoText(state)), bareToIso);
}

BENCHMARK(BM_Utf8ToIso_iconv)
    ->Arg(4)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(1100)
    ->Arg(1 << 20);

}  // namespace
