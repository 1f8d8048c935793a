#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Checks that every C++ and C file is formatted as .clang-format says; with
# --fix formats them. The style is that of clang-format 14.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mode=(--dry-run -Werror)
if [[ ${1-} == --fix ]]; then
  mode=(-i)
  shift
fi
noArguments "$@"
scripts/packages.sh git clang-format
mapfile -t files < <(projectFiles '*.cpp' '*.h' '*.c')
if [[ ${#files[@]} == 0 ]]; then
  fail "no files found"
fi
clang-format "${mode[@]}" "${files[@]}"
echo "${#files[@]} files are formatted."
