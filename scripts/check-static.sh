#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Looks for defects without running anything, in library, tools and examples:
# cppcheck, without the matters of style, which are clang-tidy's; and g++ with
# -fanalyzer. Any finding is a failure. What either finds wrongly is listed with
# the reason, below and in scripts/cppcheck.txt, where an entry that fits nothing
# any more is a failure as well. An argument chooses one: cppcheck or analyzer.
#
#     scripts/check-static.sh [cppcheck | analyzer]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The analyzer of g++ 12 was made for C. Of C++ it follows no exceptions and hardly
# any objects; it is kept for memory that is freed twice, by another name than it
# was taken, or used afterwards, and for streams of C that stay open. Off is what it
# finds in sound code:
off=(
  # What a function returns in place, and what a constructor sets.
  -Wno-analyzer-use-of-uninitialized-value
  # What a destructor gives back.
  -Wno-analyzer-malloc-leak
  # The new memory of a growing std::vector, and what operator new returns.
  -Wno-analyzer-null-dereference
  -Wno-analyzer-possible-null-dereference
  # Shifts of the compiler's vectors, of whose type it counts the elements.
  -Wno-analyzer-shift-count-overflow
)

configure() {
  cmake -S . -B build/static-analysis -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DQORUTIL_BUILD_TESTS=OFF \
    -DCMAKE_CXX_COMPILER=g++ \
    -DCMAKE_CXX_FLAGS="-O2 -fanalyzer -Werror ${off[*]}" >/dev/null
}

checkCppcheck() {
  cppcheck --version
  cppcheck --quiet --error-exitcode=1 \
    --project=build/static-analysis/compile_commands.json \
    --enable=warning,performance,portability,information --library=posix,gnu \
    --suppressions-list=scripts/cppcheck.txt
  echo "No findings."
}

checkAnalyzer() {
  cmake --build build/static-analysis --clean-first
  echo "No findings."
}

case "${1-} $#" in
  " 0") checks=(cppcheck analyzer) ;;
  "cppcheck 1" | "analyzer 1") checks=("$1") ;;
  *) fail "usage: $0 [cppcheck | analyzer]" ;;
esac
scripts/packages.sh g++ cmake ninja-build cppcheck
prepareBuild static-analysis
configure
for check in "${checks[@]}"; do
  say "Checking: $check"
  "check${check^}"
done
