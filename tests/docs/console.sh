#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Runs the commands in the console blocks of the page $2, in a folder that holds
# the files $3 and so on and nothing else, and compares what they print with
# what the page shows. In a manual page such a block is one without filling that
# begins with a command. As in a shell, a command begins behind "$ " and goes on
# behind "> ". The program $1 is found first. One that hangs is stopped.
set -eu
PATH=$(dirname "$1"):$PATH
export PATH
page=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/folder"
cp "$@" "$work/folder"

# Prints the blocks of a manual page, as they look when it is shown.
manualBlocks() {
  awk '/^\.fi$/ { inside = 0 }
    inside == 1 { inside = /^\$ / ? 2 : 0 }
    inside == 2
    /^\.nf$/ { inside = 1 }' "$1" |
    sed 's/^\\&//; s/\\-/-/g; s/\\(aq/'"'"'/g; s/\\(ga/`/g; s/\\(ha/^/g
      s/\\(ti/~/g; s/\\(dq/"/g; s/\\e/\\/g'
}

case $page in
  *.md) awk '/^```/ { shown = ($0 == "```console"); next } shown' "$page" ;;
  *) manualBlocks "$page" ;;
esac >"$work/shown"
grep -q '^\$ ' "$work/shown" || {
  echo "$page has no commands" >&2
  exit 1
}

cd "$work/folder"
export LC_ALL=C
# git is to know nothing of the user and the folders around.
export HOME="$work" GIT_CONFIG_NOSYSTEM=1
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE XDG_CONFIG_HOME
command=
isOpen=no

# Runs the command that has been read.
run() {
  test -z "$command" || timeout 60 sh -c "$command" 2>&1 </dev/null || true
}

while IFS= read -r line; do
  case $line in
    '$ '*)
      run
      command=${line#??}
      isOpen=yes
      ;;
    '> '*)
      test $isOpen = no || command="$command
${line#??}"
      ;;
    *) isOpen=no ;;
  esac
  test $isOpen = no || printf '%s\n' "$line"
done <"$work/shown" >"$work/printed"
run >>"$work/printed"
diff -u "$work/shown" "$work/printed"
