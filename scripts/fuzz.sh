#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds the fuzz targets and runs each for SECONDS (60), with the sanitizers.
# They start from the files of tests/data and from what earlier runs found,
# which build/fuzz/corpus keeps.
#
#   scripts/fuzz.sh [SECONDS]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
[[ $# -le 1 && $seconds =~ ^[1-9][0-9]*$ ]] || fail "usage: $0 [SECONDS]"

scripts/packages.sh clang cmake ninja-build libclang-rt-dev
prepareBuild fuzz
say "Building in build/fuzz"
cmake --preset fuzz
cmake --build --preset fuzz
for name in intelhex text; do
  say "Fuzzing $name for $seconds seconds"
  mkdir -p "build/fuzz/corpus/$name"
  build/fuzz/fuzz/"${name}_fuzzer" -max_total_time="$seconds" -max_len=4096 \
    -timeout=10 -verbosity=0 -print_final_stats=1 \
    -artifact_prefix=build/fuzz/ "build/fuzz/corpus/$name" tests/data/hex
done
