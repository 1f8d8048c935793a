#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Compares the picture docs/morse.svg of the source tree $2 with what the program
# $1 draws. With a third argument, "anew", it writes the picture instead.
set -eu
picture=$2/docs/morse.svg
cd "$2/examples/firmware"
draw() {
  "$1" --map=morse.map --svg=- morse.hex
}
if [ "${3-}" = anew ]; then
  draw "$1" >"$picture"
else
  draw "$1" | diff -u "$picture" -
fi
