#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs tests under valgrind, which sees what the sanitizers do not: values that
# nobody has set, in an optimised library, and in system calls. Every program that
# the tests start runs under it as well. An error or a leak is a failure. Builds
# in build/memory, as the preset hardened does. Arguments are further options of
# ctest: scripts/check-memory.sh --rerun-failed
# --quick, the first of them, runs the tool alone, over all files of tests/data.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Compilers and shells are not ours. Where the tool runs by the thousand, it would
# do so for hours, and the real files show what there is.
options=(-LE '^runs-often$' -E '^(consumer|docs|scripts\.(arguments|packages|system|ci)$)')
if [[ ${1-} == --quick ]]; then
  shift
  options=(-R '^scripts\.check_corpus$')
fi

# Tests that replace operator new keep their own.
valgrind="valgrind;--soname-synonyms=somalloc=nouserintercepts"
valgrind+=";--quiet;--error-exitcode=99;--child-silent-after-fork=yes"
valgrind+=";--leak-check=full;--show-leak-kinds=definite,indirect"
valgrind+=";--errors-for-leak-kinds=definite,indirect"
valgrind+=";--suppressions=$PWD/scripts/valgrind.supp"

# Valgrind has a __strcpy_chk() of its own, with other last words than libc's.
export GTEST_FILTER='-*MeetsTheOverflowGuard*'

scripts/packages.sh g++ cmake ninja-build dpkg-dev libgtest-dev libgmock-dev \
  python3 valgrind libc6-dbg
prepareBuild memory
say "Building in build/memory"
cmake --preset hardened -B build/memory \
  -DCMAKE_CROSSCOMPILING_EMULATOR="$valgrind"
cmake --build build/memory
say "Testing in build/memory"
ctest --test-dir build/memory --output-on-failure --no-tests=error \
  --parallel "$(nproc)" "${options[@]}" "$@"
