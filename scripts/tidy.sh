#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs clang-tidy over the library, the tools and the examples. Arguments are
# regular expressions that choose files: scripts/tidy.sh src/text
#
# --quick, the first of them, reads several sources at once, since most of the
# time goes into the system's headers, and leaves out the paths that clang-tidy's
# analyzer follows through the functions. It takes a fifth of the time, and misses
# what is looked for in the first file of a compilation alone.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scripts/packages.sh clang clang-tidy cmake ninja-build
options=()
unity=OFF
folder=$PWD
if [[ ${1-} == --quick ]]; then
  options=("-checks=-clang-analyzer-*,-bugprone-suspicious-include"
    "-header-filter=/(include/qorutil|src|tools|examples)/.*")
  unity=ON
  folder="$PWD(/build/tidy)?"
  shift
fi
prepareBuild tidy
cmake --preset tidy -DCMAKE_UNITY_BUILD=$unity
say "Checking"
if [[ $# == 0 ]]; then
  set -- "$folder/(src|tools|examples)/"
fi
# The counts of what it found in system headers and left out are no news.
run-clang-tidy -quiet -p build/tidy "${options[@]}" "$@" \
  2> >(grep -v ' warnings\? generated\.$' >&2)
echo "No findings."
