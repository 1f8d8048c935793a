#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Tests the tests: changes one place of src/ or tools/ at a time (a comparison, a
# constant, arithmetic, logic, a text, a returned value, a condition, a statement
# left out), builds, and runs the tests of that unit, then those of its family or
# of the tool, until one fails. A change that no test sees ends in status 1,
# unless tests/mutation/equivalent.txt says why none can. One that hangs is
# stopped and counts as seen.
#
#   scripts/mutate.sh [OPTION]... [FILE-REGEX]...
#
#   --count N    so many changes (520), spread over all files that match
#   --quick      one of each of 40 files
#   --seed S     chooses other ones; the same seed chooses the same
#   --resume     goes on with the last run: tries its survivors again, and what
#                it has not come to
#   --only ID,…  these alone
#   --check      only tells entries of equivalent.txt that fit no source line
#
# All happens in a copy of the tree, build/mutate/tree.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

options=()
while [[ $# -gt 0 ]]; do
  case $1 in
    --quick) options+=(--count 40) ;;
    --resume | --check) options+=("$1") ;;
    --count | --seed | --only)
      [[ -n ${2-} ]] || fail "$1 needs a value"
      [[ $1 != --count || $2 =~ ^[1-9][0-9]*$ ]] ||
        fail "--count needs a number, not \"$2\""
      options+=("$1" "$2")
      shift
      ;;
    -*) fail "no option \"$1\"; see --help" ;;
    *) options+=("$1") ;;
  esac
  shift
done

scripts/packages.sh g++ cmake ninja-build mold libgtest-dev libgmock-dev \
  zlib1g-dev git python3 python3-jsonschema
prepareBuild mutate
exec nice python3 scripts/mutate.py "${options[@]}"
