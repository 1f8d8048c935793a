#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Runs qorhex on every Intel HEX file of a folder and holds what it does
# against the tables there.
#
#   scripts/check-corpus.sh DIR [QORHEX]
#
# DIR holds MANIFEST.tsv and BLOCKS.tsv, as tests/data/hex/README.md describes
# them. QORHEX is the program; without it "qorhex" is searched in the path. One
# line per file and a last one with the counts; the exit status is 1 if
# anything differs.
set -eu

if [ $# -lt 1 ] || [ $# -gt 2 ] || [ ! -r "$1/MANIFEST.tsv" ] ||
  [ ! -r "$1/BLOCKS.tsv" ]; then
  echo "usage: $0 DIR [QORHEX]; DIR holds MANIFEST.tsv and BLOCKS.tsv" >&2
  exit 2
fi
corpus=$1
qorhex=$(command -v "${2:-qorhex}") || {
  echo "$0: no program ${2:-qorhex}" >&2
  exit 2
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
tab=$(printf '\t')

sum_of() {
  sha256sum <"$1" | cut -d ' ' -f 1
}

# Notes a difference of the file at hand.
differs() {
  problems="$problems; $*"
}

# Runs the tool with the given arguments; the status is left in $status, what
# it writes in $work/out and $work/err. One that hangs is stopped: status 124.
run() {
  status=0
  timeout 60 "$qorhex" "$@" >"$work/out" 2>"$work/err" || status=$?
}

# A refusal has exit status 3 and says something that names the file.
expect_refusal() {
  [ "$status" -eq 3 ] || differs "$1: exit status $status, not 3"
  grep -qF "$file" "$work/err" || differs "$1: no message names the file"
}

expect_success() {
  [ "$status" -eq 0 ] || differs "$1: exit status $status, not 0"
}

# The segments of the file at hand by BLOCKS.tsv: blocks that touch or overlap
# are one. Prints address, length and sum; the sum is "-" for joined blocks.
expected_segments() {
  awk -F '\t' -v file="$file" '
    function value(text,  i, result) {
      result = 0
      for (i = 3; i <= length(text); ++i) {
        result = result * 16 + index("0123456789abcdef",
                                     tolower(substr(text, i, 1))) - 1
      }
      return result
    }
    function flush_segment() {
      if (count > 0) {
        printf "%s %d %s\n", start, last - first, sum
      }
    }
    $1 == file && $4 > 0 {
      address = value($3)
      if (count > 0 && address <= last) {
        if (address + $4 > last) {
          last = address + $4
        }
        sum = "-"
      } else {
        flush_segment()
        first = address
        last = address + $4
        start = tolower(substr($3, 3))
        sum = $5
      }
      ++count
    }
    END { flush_segment() }' "$corpus/BLOCKS.tsv"
}

# With --strict the library alone decides, and the segments are its blocks.
check_strict() {
  rm -rf "$work/segments"
  mkdir "$work/segments"
  run --strict -o "$work/segments" "$corpus/$file"
  if [ "$expected" = fail ]; then
    expect_refusal --strict
    [ -z "$(ls -A "$work/segments")" ] || differs "--strict: left segments"
    return
  fi
  expect_success --strict
  expected_segments >"$work/expected"
  while read -r address length sum; do
    segment=$work/segments/${file%.*}-$address.bin
    if [ ! -f "$segment" ]; then
      differs "--strict: no segment $address"
    elif [ "$(wc -c <"$segment")" -ne "$length" ]; then
      differs "--strict: segment $address is not of $length bytes"
    elif [ "$sum" != - ] && [ "$(sum_of "$segment")" != "$sum" ]; then
      differs "--strict: segment $address differs"
    fi
  done <"$work/expected"
  [ "$(find "$work/segments" -type f | wc -l)" -eq \
    "$(wc -l <"$work/expected")" ] || differs "--strict: number of segments"
}

# Tells whether a reader of all record types can read the file at hand: it has
# an end record, no damage, no other types and no conflicting bytes. A
# byte-order mark, which the table counts as another line, is no damage.
readable() {
  types=$types_and_counts
  case $special in
    *overlap* | *"no end record"*) return 1 ;;
    *"byte order mark"*) types=$(echo "$types" | sed 's/ *other:1$//') ;;
  esac
  for type in $types; do
    case $type in
      0[0-5]:*) ;;
      *) return 1 ;;
    esac
  done
}

check_image() {
  rm -f "$work/image"
  run -b "$work/image" "$corpus/$file"
  if ! readable; then
    expect_refusal -b
    [ ! -e "$work/image" ] || differs "-b: left a file"
    return
  fi
  if [ "$flat_sum" = - ]; then
    run "$corpus/$file"
    expect_success listing
    check_total
    return
  fi
  expect_success -b
  [ -f "$work/image" ] || return 0
  case $special in
    *"byte order mark"*)
      # The table leaves out the line behind the mark, which is the first.
      tail -c "$((end - lowest))" "$work/image" >"$work/tail"
      mv "$work/tail" "$work/image"
      ;;
  esac
  [ "$(sum_of "$work/image")" = "$flat_sum" ] || differs "-b: image differs"
}

# The last line of a listing begins with the number of bytes in all segments.
check_total() {
  total=$(sed -n '$s/^total  *\([0-9]*\)\(  .*\)*$/\1/p' "$work/out")
  [ "$total" = "$data_bytes" ] || differs "listing: total $total"
}

good=0
bad=0
# An empty field would join its neighbours, tabs being blanks: the tables have
# none.
while IFS=$tab read -r file _ _ _ _ _ sum types_and_counts _ _ special \
  expected _ lowest end data_bytes flat_sum _ <&3; do
  problems=
  [ "$(sum_of "$corpus/$file")" = "$sum" ] || differs "not the file of the table"
  check_strict
  check_image
  if [ -z "$problems" ]; then
    good=$((good + 1))
    echo "ok    $file"
  else
    bad=$((bad + 1))
    echo "FAIL  $file$problems"
  fi
done 3<<END
$(tail -n +2 "$corpus/MANIFEST.tsv")
END
echo "$good files as expected, $bad not"
[ "$bad" -eq 0 ] && [ "$good" -gt 0 ]
