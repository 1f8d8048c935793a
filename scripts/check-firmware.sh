#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Compiles the firmware of the demo anew and compares it with the committed
# file, byte by byte. Another version of the compiler makes other code: then it
# shows only that the source still compiles. Installs the cross compiler where
# it is missing.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
scripts/packages.sh make gcc-avr binutils-avr avr-libc

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
make -C examples/firmware OUT="$work"

version=$(avr-gcc -dumpversion)
committed=$(make -s -C examples/firmware version)
if [[ $version != "$committed" ]]; then
  echo "Not compared: avr-gcc $version here, $committed for the committed file."
  exit 0
fi
cmp "$work/morse.hex" examples/firmware/morse.hex
echo "The committed file is what avr-gcc $version makes of its source."
