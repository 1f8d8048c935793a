#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs the scheduler for PERIODS (10000) periods of 5 ms with a signal every
# millisecond, first as it is, then with libfaketime setting the wall clock
# twenty days forth or back every 50 ms: no run is lost, and every job is due at
# exactly its time. What is printed of the latest run is the machine's affair.
#
#   scripts/check-time.sh [PERIODS]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

periods=${1:-10000}
[[ $# -le 1 && $periods =~ ^[1-9][0-9]*$ ]] || fail "usage: $0 [PERIODS]"

scripts/packages.sh cmake g++ libfaketime libgmock-dev libgtest-dev ninja-build
prepareBuild dev
cmake --preset dev
cmake --build --preset dev --target app_scheduler_signals_test
export QORUTIL_TEST_PERIODS=$periods
test=build/dev/tests/app_scheduler_signals_test
say "$periods periods with a signal every millisecond"
"$test" --gtest_brief=1
say "The same with steps of the wall clock"
library=$(dpkg -L libfaketime | grep '/libfaketime\.so\.1$')
clock=$(mktemp)
trap 'rm -f "$clock"' EXIT
echo +0d >"$clock"
# The file is read at every call, and the wall clock alone is set by it. The
# program faketime would give a time of its own, which counts for more.
LD_PRELOAD=$library FAKETIME_TIMESTAMP_FILE=$clock FAKETIME_NO_CACHE=1 \
  FAKETIME_DONT_FAKE_MONOTONIC=1 QORUTIL_TEST_WALL_CLOCK=$clock \
  "$test" --gtest_brief=1
