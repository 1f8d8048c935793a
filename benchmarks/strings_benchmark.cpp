// SPDX-License-Identifier: MIT

#include "qorutil/strings.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#ifdef HAVE_absl_strings
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#endif

namespace {

// `words` words of 1 to 15 letters, each followed by `separator`.
std::string makeWords(std::size_t words, char separator) {
  std::mt19937 random(1);
  std::string text;
  for (std::size_t i = 0; i < words; ++i) {
    text.append(1 + random() % 15, static_cast<char>('a' + random() % 26));
    text += separator;
  }
  return text;
}

std::string makeWords(const benchmark::State& state, char separator) {
  return makeWords(static_cast<std::size_t>(state.range(0)), separator);
}

void setBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) *
                          state.iterations());
}

void BM_split(benchmark::State& state) {
  const std::string text = makeWords(state, ',');
  for (auto _ : state) {
    benchmark::DoNotOptimize(split(text, ',').size());
  }
  setBytes(state, text);
}

BENCHMARK(BM_split)->Arg(10)->Arg(1000)->Arg(100000);

void BM_tokenize(benchmark::State& state) {
  const std::string text = makeWords(state, ' ');
  for (auto _ : state) {
    benchmark::DoNotOptimize(tokenize(text).size());
  }
  setBytes(state, text);
}

BENCHMARK(BM_tokenize)->Arg(10)->Arg(1000)->Arg(100000);

void BM_tokenize_istringstream(benchmark::State& state) {
  const std::string text = makeWords(state, ' ');
  for (auto _ : state) {
    std::istringstream is(text);
    std::vector<std::string> words;
    for (std::string word; is >> word;) {
      words.push_back(word);
    }
    benchmark::DoNotOptimize(words.size());
  }
  setBytes(state, text);
}

BENCHMARK(BM_tokenize_istringstream)->Arg(10)->Arg(1000)->Arg(100000);

// A text of 1 MiB in which the pattern occurs 100,000 times, about every tenth
// byte, and what takes its place: longer, shorter, as long.
struct ReplaceCase {
  std::string text;
  std::string pattern{"&&"};
  std::string replacement;
};

enum replacement_t : int { GROWING, SHRINKING, SAME_LENGTH };

ReplaceCase makeReplaceCase(const benchmark::State& state) {
  static const char* const replacements[] = {"&amp;", "&", "++"};
  ReplaceCase made;
  for (int i = 0; i < 100000; ++i) {
    made.text += "someword&&";
  }
  made.text.resize(std::size_t{1} << 20, '.');
  made.replacement = replacements[state.range(0)];
  return made;
}

void BM_strReplace(benchmark::State& state) {
  const ReplaceCase input = makeReplaceCase(state);
  for (auto _ : state) {
    std::string text = input.text;
    strReplace(text, input.pattern, input.replacement);
    benchmark::DoNotOptimize(text.data());
  }
  setBytes(state, input.text);
}

BENCHMARK(BM_strReplace)->Arg(GROWING)->Arg(SHRINKING)->Arg(SAME_LENGTH);

// The plain algorithm: quadratic where the length changes.
void BM_strReplace_plain(benchmark::State& state) {
  const ReplaceCase input = makeReplaceCase(state);
  for (auto _ : state) {
    std::string text = input.text;
    std::size_t at = 0;
    while ((at = text.find(input.pattern, at)) != std::string::npos) {
      text.replace(at, input.pattern.size(), input.replacement);
      at += input.replacement.size();
    }
    benchmark::DoNotOptimize(text.data());
  }
  setBytes(state, input.text);
}

BENCHMARK(BM_strReplace_plain)->Arg(GROWING)->Arg(SHRINKING)->Arg(SAME_LENGTH);

#ifdef HAVE_absl_strings

void BM_split_absl(benchmark::State& state) {
  const std::string text = makeWords(state, ',');
  for (auto _ : state) {
    const std::vector<std::string> fields = absl::StrSplit(text, ',');
    benchmark::DoNotOptimize(fields.size());
  }
  setBytes(state, text);
}

BENCHMARK(BM_split_absl)->Arg(10)->Arg(1000)->Arg(100000);

void BM_strReplace_absl(benchmark::State& state) {
  const ReplaceCase input = makeReplaceCase(state);
  for (auto _ : state) {
    std::string text = input.text;
    absl::StrReplaceAll({{input.pattern, input.replacement}}, &text);
    benchmark::DoNotOptimize(text.data());
  }
  setBytes(state, input.text);
}

BENCHMARK(BM_strReplace_absl)->Arg(GROWING)->Arg(SHRINKING)->Arg(SAME_LENGTH);

#endif

}  // namespace
