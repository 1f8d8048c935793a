#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs the tests in surroundings they must not depend on: another time zone,
# another order.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [[ ! -f build/dev/build.ninja ]]; then
  scripts/test.sh dev
fi
cmake --build --preset dev
other='^consumer\.'  # compilers and linkers, which do not care
say "Testing in the zone Asia/Kolkata"
TZ=Asia/Kolkata ctest --preset dev --exclude-regex "$other"
say "Testing in a random order"
GTEST_SHUFFLE=1 ctest --preset dev --exclude-regex "$other"
