#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Lets the system fail qorhex: every allocation of each of its jobs, every
# system call with each error that it can have, a signal at every system call,
# and 1,000 signals at random moments. Each output has to be whole then, the old
# one or the new one, and nothing else may be left but after SIGKILL. With
# --short a sample of them, in seconds. Needs strace, and to be allowed to trace;
# where it is not, --short says so and ends well.
#
#   scripts/check-faults.sh [--short]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

calls=()
kills=()
moments=1000
short=no
if [[ ${1-} == --short ]]; then
  calls=(60)
  kills=(30)
  moments=50
  short=yes
  shift
fi
[[ $# == 0 ]] || fail "no option \"$1\"; see --help"

scripts/packages.sh cmake g++ libgmock-dev libgtest-dev ninja-build python3 \
  strace
if ! strace -o /dev/null true 2>/dev/null; then
  [[ $short == yes ]] || fail "strace may not trace here"
  echo "Skipped: strace may not trace here."
  exit
fi
prepareBuild dev
cmake --preset dev
cmake --build --preset dev --target qorhex tools_qorhex_memory_test
if [[ $short == no ]]; then
  say "Allocations"
  QORUTIL_TEST_ALL_FAULTS=1 build/dev/tests/tools_qorhex_memory_test \
    --gtest_brief=1
fi
qorhex=build/dev/tools/qorhex/qorhex
say "System calls"
scripts/faults.py calls "$qorhex" "${calls[@]}"
say "Signals at system calls"
scripts/faults.py kills "$qorhex" "${kills[@]}"
say "Signals at random moments"
scripts/faults.py moments "$qorhex" "$moments"
