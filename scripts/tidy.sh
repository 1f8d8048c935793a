#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs clang-tidy over the library, the tools and the examples. Arguments are
# regular expressions that choose files: scripts/tidy.sh src/text
# --quick, the first of them, leaves out the paths that its analyzer follows
# through the functions, which take half of the time.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/packages.sh clang clang-tidy cmake ninja-build
prepareBuild tidy
cmake --preset tidy
say "Checking"
options=()
if [[ ${1-} == --quick ]]; then
  options=(-checks=-clang-analyzer-*)
  shift
fi
if [[ $# == 0 ]]; then
  set -- "$PWD/(src|tools|examples)/"
fi
# The counts of what it found in system headers and left out are no news.
run-clang-tidy -quiet -p build/tidy "${options[@]}" "$@" \
  2> >(grep -v ' warnings\? generated\.$' >&2)
echo "No findings."
