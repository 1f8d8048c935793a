#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Runs the commands in the console blocks of the page $2, in a folder that holds
# the files $3 and so on and nothing else, and compares what they print with
# what the page shows. The program $1 is found first. One that hangs is stopped.
set -eu
PATH=$(dirname "$1"):$PATH
export PATH
page=$2
shift 2
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
  timeout 60 sh -c "$command" 2>&1 </dev/null || true
done >"$work/printed"
diff -u "$work/shown" "$work/printed"
