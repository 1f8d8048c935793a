#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs clang-tidy over the library, the tools and the examples. Arguments are
# regular expressions that choose files: scripts/tidy.sh src/text

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/packages.sh clang clang-tidy cmake ninja-build
prepareBuild tidy
cmake --preset tidy
say "Checking"
if [[ $# == 0 ]]; then
  set -- "$PWD/(src|tools|examples)/"
fi
# The counts of what it found in system headers and left out are no news.
run-clang-tidy -quiet -p build/tidy "$@" \
  2> >(grep -v ' warnings\? generated\.$' >&2)
echo "No findings."
