#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Cuts every file of tests/data/hex after every line and at each of its last 64
# bytes, and holds what the library and qorhex make of the rest against the
# plain readers of the tests. The ordinary tests do that with the short files.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
noArguments "$@"

scripts/packages.sh g++ cmake ninja-build libgtest-dev libgmock-dev
prepareBuild cuts
say "Building in build/cuts"
cmake --preset release -B build/cuts -DQORUTIL_TEST_FLAGS=-O2
cmake --build build/cuts --target ihex_cuts_test tools_qorhex_cuts_test
say "Cutting"
export QORUTIL_ALL_CUTS=1
build/cuts/tests/ihex_cuts_test
build/cuts/tests/tools_qorhex_cuts_test
