#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Holds the figures of the pages $2 and so on against the page $1, which has them
# from a measurement: each number of four digits or with a fraction, in the
# paragraph or table behind the remark "figures", has to stand there too.
set -eu
measured=$1
shift
known=$(mktemp)
trap 'rm -f "$known"' EXIT
numbers() {
  tr -d , | grep -oE '[0-9]+\.[0-9]+|[0-9]{4,}' | sort -u
}
numbers <"$measured" >"$known"
for page in "$@"; do
  figures=$(awk '/^<!-- figures -->$/ { shown = 1; next } /^$/ { shown = 0 } shown' \
    "$page" | numbers)
  [ "$figures" ] || { echo "$page has no figures" >&2; exit 1; }
  if echo "$figures" | grep -vxFf "$known"; then
    echo "$page has the figures above, and $measured does not" >&2
    exit 1
  fi
done
