#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds the library, the tool and the tests with clang's counters, runs the
# tests and tells what they have run: lines and branches of each file of src/
# and tools/, and all that was not run and does not stand in
# tests/coverage/excused.txt.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
scripts/packages.sh llvm
# Each program has a file, to which its runs add while they last: so those count
# as well that a signal ends.
rm -rf build/coverage/profiles
# Every allocation fails once, not a sample.
export QORUTIL_TEST_ALL_FAULTS=1
scripts/test.sh coverage
say "Coverage"
scripts/coverage.py --table
