#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Runs the commands in the console blocks of the page $1, in a folder that holds
# the files $2 and so on and nothing else, and compares what they print with
# what the page shows.
set -eu
page=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/folder"
cp "$@" "$work/folder"
awk '/^```/ { shown = ($0 == "```console"); next } shown' "$page" >"$work/shown"
grep -q '^\$ ' "$work/shown" || {
  echo "$page has no commands" >&2
  exit 1
}

cd "$work/folder"
export LC_ALL=C
sed -n 's/^\$ //p' "$work/shown" | while IFS= read -r command; do
  printf '$ %s\n' "$command"
  sh -c "$command" 2>&1 </dev/null || true
done >"$work/printed"
diff -u "$work/shown" "$work/printed"
