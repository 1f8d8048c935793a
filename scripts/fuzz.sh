#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds the fuzz targets and runs each for SECONDS (60), with the sanitizers of
# clang; TARGETs choose. They start from fuzz/seeds and tests/data and from what
# earlier runs found, which build/fuzz/corpus keeps. An input that a target
# fails for is left in build/fuzz; it belongs into fuzz/seeds/TARGET, where the
# ordinary tests run it too.
#
#   scripts/fuzz.sh [OPTION...] [SECONDS] [TARGET...]
#
#     --runs=N  ends each target after N inputs instead
#     --fast    without the sanitizers, in build/fuzz-fast
#     --afl     with AFL++ instead of libFuzzer, in build/fuzz-afl

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

engine=libFuzzer
build=fuzz
seconds=60
runs=
while [[ ${1-} == --* ]]; do
  case $1 in
    --afl) engine=afl build=fuzz-afl ;;
    --fast) build=fuzz-fast ;;
    --runs=*) runs=${1#*=} ;;
    *) fail "no option \"$1\"; see --help" ;;
  esac
  shift
done
if [[ ${1-} =~ ^[0-9]+$ ]]; then
  seconds=$1
  shift
fi
[[ ${runs:-1} =~ ^[1-9][0-9]*$ && $seconds =~ ^[1-9][0-9]*$ ]] ||
  fail "SECONDS and N are numbers from 1 on"
targets=(fuzz/*_fuzzer.cpp)
targets=("${targets[@]#fuzz/}")
targets=("${targets[@]%_fuzzer.cpp}")
for target in "$@"; do
  [[ " ${targets[*]} " == *" $target "* ]] ||
    fail "no target \"$target\"; there are: ${targets[*]}"
done
if [[ $# != 0 ]]; then
  targets=("$@")
fi

# The folders of inputs that the target $1 starts from.
seedsOf() {
  echo "fuzz/seeds/$1"
  if [[ $1 == loader || $1 == qorhex ]]; then
    echo tests/data/hex
  fi
}

# The dictionary of the target $1, if there is one.
dictionaryOf() {
  case $1 in
    record | loader | qorhex) echo fuzz/hex.dict ;;
    version | conversion | options) echo "fuzz/$1.dict" ;;
  esac
}

runLibFuzzer() {
  local corpus=build/fuzz/corpus/$1 dictionary limit seeds
  mkdir -p "$corpus"
  mapfile -t seeds < <(seedsOf "$1")
  dictionary=$(dictionaryOf "$1")
  limit=-max_total_time=$seconds
  if [[ -n $runs ]]; then
    limit=-runs=$runs
  fi
  "build/$build/fuzz/$1_fuzzer" "$limit" ${dictionary:+"-dict=$dictionary"} \
    -max_len=4096 -timeout=10 -verbosity=0 -print_final_stats=1 \
    "-artifact_prefix=build/fuzz/$1-" "$corpus" "${seeds[@]}"
}

runAfl() {
  local dictionary folder=build/$build/found/$1 limit seeds
  # All in one folder; nothing of an earlier run.
  rm -rf "$folder" "$folder-seeds"
  mkdir -p "$folder-seeds"
  mapfile -t seeds < <(seedsOf "$1")
  find "${seeds[@]}" -maxdepth 1 -type f -size +0 -size -4k \
    -exec cp -t "$folder-seeds" {} +
  dictionary=$(dictionaryOf "$1")
  limit=(-V "$seconds")
  if [[ -n $runs ]]; then
    limit=(-E "$runs")
  fi
  AFL_NO_UI=1 AFL_SKIP_CPUFREQ=1 AFL_NO_AFFINITY=1 \
    AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1 AFL_QUIET=1 \
    afl-fuzz "${limit[@]}" -G 4096 ${dictionary:+-x "$dictionary"} \
    -i "$folder-seeds" -o "$folder" -- "build/$build/fuzz/$1_fuzzer" >/dev/null
  grep -E '^(execs_done|execs_per_sec|corpus_count|saved_(crashes|hangs)) ' \
    "$folder/default/fuzzer_stats"
  if [[ -n $(find "$folder/default/crashes" "$folder/default/hangs" -name 'id*') ]]
  then
    fail "see $folder/default/crashes and $folder/default/hangs"
  fi
}

scripts/packages.sh clang cmake ninja-build libclang-rt-dev
settings=()
case $build in
  fuzz-fast) settings=(-DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link) ;;
  fuzz-afl)
    scripts/packages.sh afl++
    # This compiler brings the flags itself.
    settings=(-DCMAKE_CXX_COMPILER=afl-clang-fast++ -DCMAKE_CXX_FLAGS=)
    export AFL_USE_ASAN=1 AFL_USE_UBSAN=1 AFL_QUIET=1
    ;;
esac
prepareBuild $build
say "Building in build/$build"
cmake --preset fuzz -B build/$build "${settings[@]}"
cmake --build build/$build --target "${targets[@]/%/_fuzzer}"
amount=${runs:+$runs inputs}
: "${amount:=$seconds seconds}"
for target in "${targets[@]}"; do
  say "Fuzzing $target for $amount"
  "run${engine^}" "$target"
done
