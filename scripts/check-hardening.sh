#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Holds what the preset hardened builds against what its flags promise. Of the
# installed library and program: position independent, relocations read-only
# before main (full RELRO), no executable stack, no memory both writable and
# executable, no relocations in the code, stack protector and fortified functions
# in use, no run path; of the objects, where the processor has it, marks for
# control-flow enforcement. Then the same look at the plain build, which must find
# what it lacks: a builder's flags are not imposed. With arguments it looks at
# these files, which somebody else hardened, and asks for no fortified functions.
#
#     scripts/check-hardening.sh [FILE...]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

fortified="fortified functions"
ignored=

# What the program or shared library $1 lacks, one in a line.
lacking() {
  local segments dynamic names
  segments=$(readelf --wide --program-headers "$1")
  dynamic=$(readelf --wide --dynamic "$1")
  names=$(readelf --wide --dyn-syms "$1" |
    awk '$7 == "UND" { sub("@.*", "", $8); print $8 }')

  lacks() { echo "$1"; }
  grep -q 'Elf file type is DYN' <<<"$segments" ||
    lacks "position independent code"
  if grep -q ' INTERP ' <<<"$segments"; then
    grep -q '(FLAGS_1).* PIE' <<<"$dynamic" || lacks "the mark of a program (PIE)"
  fi
  grep -q '^ *GNU_RELRO ' <<<"$segments" || lacks "read-only relocations"
  grep -qE '\((FLAGS|FLAGS_1)\).* (BIND_)?NOW' <<<"$dynamic" ||
    lacks "binding before main"
  grep -q '^ *GNU_STACK .* RW ' <<<"$segments" ||
    lacks "a stack that is not executable"
  ! grep -q '^ *LOAD .* RWE ' <<<"$segments" ||
    lacks "a division of code and data"
  ! grep -q TEXTREL <<<"$dynamic" || lacks "code without relocations"
  ! grep -qE '\((RPATH|RUNPATH)\)' <<<"$dynamic" || lacks "freedom of run paths"
  grep -qx __stack_chk_fail <<<"$names" || lacks "a stack protector"
  # The library calls __strcpy_chk() in every build.
  grep -qxE '__(mem|str[^c]|v?s?n?printf|read).*_chk' <<<"$names" ||
    lacks "$fortified"
}

checkHardened() {
  local file found
  for file in "$@"; do
    found=$(lacking "$file" | grep -vxF "$ignored" || true)
    [[ -z $found ]] || fail "$file lacks: ${found//$'\n'/, }"
    echo "$file is hardened."
  done
}

# Configures the preset $1, builds library and tool, and installs them in the
# folder build/$1/hardening.
buildAndInstall() {
  configureWithoutTests "$1" -DQORUTIL_BUILD_TOOLS=ON
  cmake --build "build/$1" --target qorutil qorhex
  for component in runtime tools; do
    cmake --install "build/$1" --prefix "build/$1/hardening" \
      --component $component >/dev/null
  done
}

# The installed program and library below build/$1.
installed() {
  find "build/$1/hardening" -name qorhex -type f -perm -u+x
  find "build/$1/hardening" -name 'libqorutil.so.*' -type f
}

# What links a program decides whether it is marked, and Debian 12's C library is
# not; our objects have to be, so that they do not stand in the way.
checkMarks() {
  local object count=0
  if ! grep -q -e '-fcf-protection' build/hardened/build.ninja; then
    echo "This processor has no marks for control-flow enforcement."
    return
  fi
  while IFS= read -r object; do
    readelf --wide --notes "$object" 2>/dev/null | grep -q 'IBT, SHSTK' ||
      fail "$object is not marked for control-flow enforcement"
    count=$((count + 1))
  done < <(find build/hardened/{src,tools} -name '*.o')
  [[ $count != 0 ]] || fail "there are no objects"
  echo "$count objects are marked for control-flow enforcement."
}

# Debian's compiler is neutral but for position independence and partial RELRO.
checkPlain() {
  local file found
  for file in "$@"; do
    found=$(lacking "$file" | grep -v 'run paths$')
    [[ $found == "binding before main
a stack protector
$fortified" ]] || fail "$file, of a plain build, lacks: $found"
    echo "$file is plain."
  done
}

scripts/packages.sh binutils
if [[ $# != 0 ]]; then
  # Debian 12's level of fortification finds nothing to do in these sources.
  ignored=$fortified
  checkHardened "$@"
  exit
fi
scripts/packages.sh g++ cmake ninja-build dpkg-dev
say "The preset hardened"
buildAndInstall hardened
mapfile -t files < <(installed hardened)
[[ ${#files[@]} == 2 ]] || fail "not two files: ${files[*]}"
checkHardened "${files[@]}"
checkMarks
say "The plain build"
buildAndInstall release
mapfile -t files < <(installed release)
[[ ${#files[@]} == 2 ]] || fail "not two files: ${files[*]}"
checkPlain "${files[@]}"
