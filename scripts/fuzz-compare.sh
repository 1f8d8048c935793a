#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Holds the Intel HEX reader against the plain reference on fresh random input.
#
#   scripts/fuzz-compare.sh [ROUNDS [PROGRAM]]
#
# ROUNDS is the number of small files (100000); the other tests of the program
# go along in their proportion. PROGRAM is a built ihex_random_test; without it
# the one of the preset "release" is built. QORUTIL_SEED repeats a run.
set -eu

rounds=${1:-100000}
program=${2:-}
case $rounds in
  '' | *[!0-9]* | 0)
    echo "usage: $0 [ROUNDS [PROGRAM]]" >&2
    exit 2
    ;;
esac

if [ -z "$program" ]; then
  root=$(cd "$(dirname "$0")/.." && pwd)
  (cd "$root" && cmake --preset release >/dev/null &&
    cmake --build --preset release --target ihex_random_test)
  program=$root/build/release/tests/ihex_random_test
fi

# Below 2^48, so that first seed plus round stays a number of 64 bits.
seed=${QORUTIL_SEED:-$(od -An -N6 -tu8 /dev/urandom | tr -d ' ')}
echo "seed $seed, $rounds rounds"
if ! QORUTIL_SEED=$seed QORUTIL_ROUNDS=$rounds "$program" \
  --gtest_filter='*Random*' --gtest_brief=1; then
  echo "failed with seed $seed, $rounds rounds; see \"again:\" above" >&2
  exit 1
fi
