#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds qorhex and runs it on the firmware of a real program: lists the
# segments, writes the memory image, and compares that with the one that objcopy
# of binutils makes. Installs the packages that are missing.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
firmware=examples/firmware/morse.hex
build=build/release

show() {
  printf '$ %s\n' "$*"
  "$@"
}

scripts/packages.sh g++ cmake ninja-build binutils

say "Building in $build"
configureWithoutTests release -DQORUTIL_BUILD_TOOLS=ON
cmake --build "$build" --target qorhex

say "The segments of $firmware"
show "$build/tools/qorhex/qorhex" "$firmware"

say "The memory image, gaps filled with 0xff"
show "$build/tools/qorhex/qorhex" -b "$build/morse.bin" "$firmware"
show ls -l "$build/morse.bin"

say "The same by objcopy"
show objcopy -I ihex -O binary --gap-fill=0xff "$firmware" \
  "$build/morse-objcopy.bin"
show cmp "$build/morse.bin" "$build/morse-objcopy.bin"
echo "Both images are the same, byte by byte."
