#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Measures the library against what a user would take instead, and prints the
# tables of docs/performance.md. Installs the packages that are missing.
#
#   scripts/bench.sh               all groups of rows
#   scripts/bench.sh client size   some of them; another word is told their names
#   scripts/bench.sh --quick       everything once, on small images, for CI
#   scripts/bench.sh --write-docs  all, into docs/performance.md, with its plots
#
# With --cpu processor time is measured, for a machine that is busy; --rounds N
# tells how often each program runs, --results FILE where the figures go.
#
# Nothing is asserted about the times.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Before anything is installed or built.
checkArguments() {
  local groups
  groups=$(sed -n 's/^    "\([a-z]*\)": rows.*/\1/p' scripts/bench.py)
  groups=${groups//$'\n'/ }
  while [[ $# != 0 ]]; do
    case $1 in
      --quick | --cpu | --write-docs | --rounds=* | --results=*) ;;
      --rounds | --results)
        [[ $# -gt 1 ]] || fail "$1 needs a value"
        shift
        ;;
      -*) fail "no option \"$1\"; see --help" ;;
      *)
        [[ " $groups " == *" $1 "* ]] ||
          fail "no group \"$1\"; there are: $groups"
        ;;
    esac
    shift
  done
}

checkArguments "$@"
arguments=()
writeDocs=no
for argument in "$@"; do
  if [[ $argument == --write-docs ]]; then
    writeDocs=yes
  else
    arguments+=("$argument")
  fi
done

scripts/packages.sh g++ cmake ninja-build pkgconf binutils python3 valgrind \
  strace libbenchmark-dev libabsl-dev libuv1-dev libevent-dev
# As in test.sh, not g++-multilib, which cannot be installed beside cross
# compilers; its name needs the compiler.
scripts/packages.sh "g++-$(g++ -dumpversion)-multilib"
# Peers that are left out where they are missing; large, and so not for CI.
if [[ " $* " != *" --quick "* ]]; then
  scripts/packages.sh llvm srecord
fi

# Builds the TARGETS in build/NAME: build NAME TARGETS CMAKE-OPTIONS...
build() {
  local name=$1 targets=$2
  prepareBuild "$name"
  cmake -S . -B "build/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DQORUTIL_BUILD_BENCHMARKS=ON -DQORUTIL_BUILD_TESTS=OFF \
    -DQORUTIL_BUILD_EXAMPLES=OFF "${@:3}"
  # shellcheck disable=SC2086 # several targets
  cmake --build "build/$name" --target $targets
}

programs="client plain_client trivial trivial_linked"
{
  say "Building in build/release, build/bench-portable, build/bench-m32"
  configureWithoutTests release -DQORUTIL_BUILD_BENCHMARKS=ON
  cmake --build build/release --target benchmarks/all qorhex
  # In large pieces where it is not measured: most of the time goes into the
  # headers.
  unity=OFF
  if [[ " $* " == *" --quick "* ]]; then
    unity=ON
  fi
  build bench-portable "$programs" -DQORUTIL_VECTORS=OFF \
    -DCMAKE_UNITY_BUILD=$unity
  # The second option finds the kernel's headers, as in the preset m32.
  build bench-m32 "$programs" -DCMAKE_UNITY_BUILD=$unity \
    "-DCMAKE_CXX_FLAGS=-m32 -idirafter /usr/include/$(g++ -print-multiarch)"
} >&2

if [[ $writeDocs == no ]]; then
  exec python3 scripts/bench.py "${arguments[@]}"
fi

# What stands between the two marks is replaced.
tables=build/release/tables.md
python3 scripts/bench.py "${arguments[@]}" | tee "$tables"
sed -i -e '/^<!-- tables/r '"$tables" -e '/^<!-- tables/,/^<!-- end/{//!d}' \
  docs/performance.md
python3 scripts/plots.py build/release/results.json docs
