#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Compares the layout of the public types with the tables in tests/abi, one for
# each kind of processor: sizes, alignments, places of members. --update writes
# the tables anew, for a change that is wanted. ARM is left out where its cross
# compiler is missing.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

update=no
if [[ ${1-} == --update ]]; then
  update=yes
  shift
fi
noArguments "$@"
# Not g++-multilib, which cannot be installed beside cross compilers.
scripts/packages.sh g++ "g++-$(g++ -dumpversion)-multilib"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
result=0

# Compiles for one kind of processor with the command $1, runs the program with
# the command $2, and compares.
check() {
  local compiler=$1 run=$2 name table
  # shellcheck disable=SC2086 # commands with arguments
  $compiler -std=c++17 -Iinclude -Itests -x c++ - -o "$work/program" <<'END'
#include "abi/layout.h"
#include <iostream>

int main() { std::cout << layoutName() << '\n' << layout(); }
END
  $run "$work/program" >"$work/printed"
  name=$(head -n 1 "$work/printed")
  table=tests/abi/$name
  sed 1d "$work/printed" >"$work/$name"
  if [[ $update == yes ]]; then
    cp "$work/$name" "$table"
  elif ! diff -u "$table" "$work/$name"; then
    result=1
    return
  fi
  echo "$table: $(wc -l <"$table") sizes and places"
}

check g++ ""
# The option finds the kernel's headers, as in the preset m32.
check "g++ -m32 -idirafter /usr/include/$(g++ -print-multiarch)" ""
if command -v arm-linux-gnueabihf-g++ >/dev/null &&
  command -v qemu-arm >/dev/null; then
  check arm-linux-gnueabihf-g++ "qemu-arm -L /usr/arm-linux-gnueabihf"
fi
[[ $result == 0 ]] || fail "the layouts differ from those stored"
