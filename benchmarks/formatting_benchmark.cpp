// SPDX-License-Identifier: MIT

#include "qorutil/formatting.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#ifdef HAVE_absl_strings
#include <absl/strings/escaping.h>
#endif

#include "array_buffer.h"
#include "printers.h"
#include "text/plain_text.h"

namespace {

namespace plain = qorutil_internal;

std::string randomBytes(std::size_t size) {
  std::mt19937 random(1);
  std::string text(size, '\0');
  for (char& byte : text) {
    byte = static_cast<char>(random());
  }
  return text;
}

// Lines as a daemon writes them.
std::string logText(std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += "Nov 15 08:39:52 board can0: frame 00000123 of \"node\\4\"\tsent\n";
  }
  text.resize(size);
  return text;
}

void setBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

// Calls `print` on a stream whose buffer has grown already.
template <class Print>
void printAgain(benchmark::State& state, std::size_t size, Print print) {
  ArrayBuffer buffer;
  std::ostream os(&buffer);
  for (auto _ : state) {
    buffer.reset();
    print(os);
    benchmark::ClobberMemory();
  }
  setBytes(state, size);
}

template <class Dump>
void dumpAfresh(benchmark::State& state, Dump dump) {
  const std::string text =
      randomBytes(static_cast<std::size_t>(state.range(0)));
  const auto* first = reinterpret_cast<const unsigned char*>(text.data());
  for (auto _ : state) {
    std::ostringstream os;
    dump(os, first, first + text.size());
    benchmark::DoNotOptimize(os.tellp());
  }
  setBytes(state, text.size());
}

void BM_hexdump(benchmark::State& state) {
  dumpAfresh(state, [](std::ostream& os, auto first, auto last) {
    hexdump(os, first, last, "rx", 16, HEXDUMP_OFFSET, true);
  });
}

BENCHMARK(BM_hexdump)->Arg(16)->Arg(1024)->Arg(1 << 20);

void BM_hexdump_plain(benchmark::State& state) {
  dumpAfresh(state, [](std::ostream& os, auto first, auto last) {
    plain::hexdumpPlainly(os, first, last, "rx", 16, HEXDUMP_OFFSET, true);
  });
}

BENCHMARK(BM_hexdump_plain)->Arg(16)->Arg(1024)->Arg(1 << 20);

template <class Dump>
void dumpAgain(benchmark::State& state, Dump dump) {
  const std::string text =
      randomBytes(static_cast<std::size_t>(state.range(0)));
  const auto* first = reinterpret_cast<const unsigned char*>(text.data());
  printAgain(state, text.size(), [&](std::ostream& os) {
    dump(os, first, first + text.size(), "rx", 16, HEXDUMP_OFFSET, true);
  });
}

void BM_hexdumpAgain(benchmark::State& state) {
  dumpAgain(state, hexdump<const unsigned char*>);
}

BENCHMARK(BM_hexdumpAgain)->Arg(16)->Arg(1024)->Arg(1 << 20);

void BM_hexdumpAgain_plain(benchmark::State& state) {
  dumpAgain(state, plain::hexdumpPlainly);
}

BENCHMARK(BM_hexdumpAgain_plain)->Arg(16)->Arg(1024)->Arg(1 << 20);

// Every function that makes text of a text, on both kinds of text.
using Source = std::string (*)(std::size_t size);

template <Source source, class Make>
void escapeAgain(benchmark::State& state, Make make) {
  const std::string text = source(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(make(text));
  }
  setBytes(state, text.size());
}

template <Source source, class Print>
void printText(benchmark::State& state, Print print) {
  const std::string text = source(static_cast<std::size_t>(state.range(0)));
  printAgain(state, text.size(), [&](std::ostream& os) { print(os, text); });
}

#define ESCAPE_BENCHMARK(function)          \
  BENCHMARK_TEMPLATE(function, randomBytes) \
      ->Arg(10)                             \
      ->Arg(100)                            \
      ->Arg(10000)                          \
      ->Arg(1000000);                       \
  BENCHMARK_TEMPLATE(function, logText)     \
      ->Arg(10)                             \
      ->Arg(100)                            \
      ->Arg(10000)                          \
      ->Arg(1000000)

template <Source source>
void BM_getEscaped(benchmark::State& state) {
  escapeAgain<source>(state, [](const auto& text) { return getEscaped(text); });
}

ESCAPE_BENCHMARK(BM_getEscaped);

template <Source source>
void BM_printEscaped(benchmark::State& state) {
  printText<source>(state, printEscaped);
}

ESCAPE_BENCHMARK(BM_printEscaped);

template <Source source>
void BM_printPrintable(benchmark::State& state) {
  printText<source>(state, printPrintable);
}

ESCAPE_BENCHMARK(BM_printPrintable);

template <Source source>
void BM_printEscaped_plain(benchmark::State& state) {
  printText<source>(state, plain::printEscapedPlainly);
}

ESCAPE_BENCHMARK(BM_printEscaped_plain);

#ifdef HAVE_absl_strings
template <Source source>
void BM_getEscaped_absl(benchmark::State& state) {
  escapeAgain<source>(state,
                      [](const auto& text) { return absl::CEscape(text); });
}

ESCAPE_BENCHMARK(BM_getEscaped_absl);
#endif

constexpr auto prefixedHex = std::ios_base::hex | std::ios_base::showbase;

void BM_makeString(benchmark::State& state) {
  int value = 0x1234567;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    benchmark::DoNotOptimize(makeString(value, std::ios_base::dec));
    benchmark::DoNotOptimize(makeString(value, prefixedHex));
  }
}

BENCHMARK(BM_makeString);

void BM_makeString_plain(benchmark::State& state) {
  int value = 0x1234567;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    benchmark::DoNotOptimize(
        plain::makeStringPlainly(value, std::ios_base::dec));
    benchmark::DoNotOptimize(plain::makeStringPlainly(value, prefixedHex));
  }
}

BENCHMARK(BM_makeString_plain);

// Words with one, some and all bits set.
constexpr std::int64_t fewBits = 0x40008021;

void BM_setBits2list(benchmark::State& state) {
  const auto bits = static_cast<unsigned long>(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(setBits2list(bits, ", "));
  }
}

BENCHMARK(BM_setBits2list)->Arg(2)->Arg(fewBits)->Arg(-1);

void BM_setBits2list_plain(benchmark::State& state) {
  const auto bits = static_cast<unsigned long>(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(plain::setBits2listPlainly(bits, ", "));
  }
}

BENCHMARK(BM_setBits2list_plain)->Arg(2)->Arg(fewBits)->Arg(-1);

template <Source source>
bool addEscapes(const std::string& name, std::size_t size) {
  const std::string text = source(size);
  const std::string suffix = ", " + name + ", " + std::to_string(size);
  return addPrinter(
             "printEscaped" + suffix,
             [text](std::ostream& os) { printEscaped(os, text); },
             [text](std::ostream& os) {
               plain::printEscapedPlainly(os, text);
             }) &&
         addPrinter(
             "printPrintable" + suffix,
             [text](std::ostream& os) { printPrintable(os, text); },
             [text](std::ostream& os) {
               plain::printPrintablePlainly(os, text);
             });
}

bool addBinary(std::uint64_t bits) {
  constexpr std::uint64_t value = 0xA5A512340F0FCDEF;
  return addPrinter(
      "BinaryBase, " + std::to_string(bits),
      [bits](std::ostream& os) { BinaryBase::print(os, value, bits); },
      [bits](std::ostream& os) { plain::printBinaryPlainly(os, value, bits); });
}

bool addDump() {
  static const std::string text = randomBytes(16);
  const auto* const first = reinterpret_cast<const unsigned char*>(text.data());
  return addPrinter(
      "hexdump, 16",
      [first](std::ostream& os) {
        hexdump(os, first, first + 16, "rx", 16, HEXDUMP_OFFSET, false);
      },
      [first](std::ostream& os) {
        plain::hexdumpPlainly(os, first, first + 16, "rx", 16, HEXDUMP_OFFSET,
                              false);
      });
}

bool addList() {
  static const std::vector<std::pair<bool, const char*>> list = {
      {true, "urgent"}, {false, "encrypted"}, {true, "signed"}};
  return addPrinter(
      "printSeparatedList, 2",
      [](std::ostream& os) { printSeparatedList(os, list, "|", "plain"); },
      [](std::ostream& os) {
        plain::printSeparatedListPlainly(os, list, "|", "plain");
      });
}

bool addNumbers() {
  constexpr auto flags = std::ios_base::dec | std::ios_base::skipws;
  return addPrinter(
             "printUnknownEnum",
             [](std::ostream& os) { printUnknownEnum(os, 255); },
             [](std::ostream& os) {
               plain::printUnknownEnumPlainly(os, 255);
             }) &&
         addPrinter(
             "fmtflags", [=](std::ostream& os) { os << flags; },
             [=](std::ostream& os) { plain::printPlainly(os, flags); });
}

const bool added[] = {
    addDump(),
    addBinary(8),
    addBinary(64),
    addEscapes<logText>("log", 10),
    addEscapes<logText>("log", 100),
    addEscapes<randomBytes>("random", 10),
    addEscapes<randomBytes>("random", 100),
    addList(),
    addNumbers(),
};

}  // namespace
