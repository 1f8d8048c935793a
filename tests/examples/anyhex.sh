#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Runs the example anyhex on every Intel HEX file of a folder: it must refuse
# what is damaged or truncated, or not of the format's six record types, tell in
# which line, and list the bytes of all others.
#
#   tests/examples/anyhex.sh DIR ANYHEX
#
# DIR holds MANIFEST.tsv, as tests/data/hex/README.md describes it.
set -eu
corpus=$1
anyhex=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$corpus"

# Of blocks that overlap, or wrap around in a segment, the numbers say little; the
# record behind a byte-order mark is missing in those of the table.
tail -n +2 MANIFEST.tsv | while IFS='	' read -r file _ _ _ _ _ _ types _ _ \
  special _ _ lowest end bytes _; do
  expected="$bytes bytes $lowest $end"
  found=$(timeout 60 "$anyhex" "$file" 2>"$work/err" | awk -v file="$file" '
    { bytes += $2; if (NR == 1) lowest = $1; last = $1; size = $2 }
    END { printf "%d %s %s %d\n", bytes, lowest, last, size }')
  # shellcheck disable=SC2086  # these are four words
  set -- $found
  if [ -s "$work/err" ]; then
    found=$(sed -n "1s/^$file:[0-9]*: .*/refused/p" "$work/err")
  elif [ "$#" -lt 4 ]; then
    found="0 bytes - -"
  else
    found=$(printf '%d bytes 0x%08X 0x%08X' "$1" "$2" "$(($3 + $4))")
  fi
  case "$types; $special" in
    *bad* | *other* | *0[6-9A-F]:* | *"no end record"*) expected=refused ;;
  esac
  case $special in
    *overlap* | *wraps* | *"byte order mark"*) expected=$found ;;
  esac
  [ "$expected" = "$found" ] || echo "$file: $found, not $expected"
done >"$work/differences"
cat "$work/differences"
[ -s MANIFEST.tsv ] && [ ! -s "$work/differences" ]
