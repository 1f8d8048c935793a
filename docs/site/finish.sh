#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Puts the files of the sources $1 that pages name beside them, in the folder $2.
# They are texts there, so that a browser shows them; of a folder it is the list of
# what it holds.
set -eu
source=$1
html=$2
grep -oh 'href="files/[^"]*\.txt"' "$html"/*.html | sort -u |
  sed 's/^href="files\/\(.*\)\.txt"$/\1/' | while IFS= read -r file; do
  mkdir -p "$html/files/$(dirname "$file")"
  if [ -d "$source/$file" ]; then
    ls "$source/$file" >"$html/files/$file.txt"
  else
    cp "$source/$file" "$html/files/$file.txt"
  fi
done
