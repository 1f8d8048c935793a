#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Tests library and qorhex as they are shipped, optimised: the test programs of
# the debug build run with the shipped library in place of theirs, and the shipped
# qorhex reads the real files. `scripts/test.sh release` compiles all tests anew
# instead, those of internals too, and takes twice as long.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
if [[ ! -f build/dev/tests/CTestTestfile.cmake ]]; then
  scripts/test.sh dev
fi
say "Building in build/release and build/dev"
configureWithoutTests release
cmake --build build/release
cmake --build --preset dev

say "Testing the library of build/release"
library=$PWD/build/release/src
# Whether the programs take it at all.
LD_LIBRARY_PATH=$library ldd build/dev/tests/text_strings_test |
  grep -F "$library/libqorutil.so.0" ||
  fail "the tests do not take the library in $library"
ctest --preset shipped

say "Testing the qorhex of build/release"
scripts/check-corpus.sh tests/data/hex build/release/tools/qorhex/qorhex
