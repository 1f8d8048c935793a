#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Does what the page $1 says, from top to bottom, in an empty home folder, in
# which ~/local holds the library, installed, and ~/qorutil its sources:
#
#   ```console   commands behind "$ ", and what they print, which is compared
#   ```sh        commands that must succeed
#   ```cpp       the inside of a function: it is compiled and run, and what it
#                prints is compared with the next ```text
#
# A comment on the line before a block says what else it is:
#
#   <!-- file: NAME -->       the file NAME, made in the folder at hand
#   <!-- same: PATH -->       the file PATH of the sources, but for its licence
#   <!-- arguments: ... -->   the function has these as argc and argv
#   <!-- shown only -->       nothing is done
#   <!-- needs: PROGRAM -->   without PROGRAM nothing is done up to the next heading
#
# Compiler, flags and folders come in the environment.
set -eu
: "${source:?}" "${build:?}" "${CXX:?}" "${CXXFLAGS?}" "${LDFLAGS?}"
page=$source/$1
# Always the same folder, so that a compiler cache finds what was compiled before.
work=$PWD/$(basename "$1" .md).guide
rm -rf "$work"
mkdir -p "$work/steps" "$work/home"
if command -v ccache >/dev/null; then  # it looks for its folder in the home folder
  CCACHE_DIR=$(ccache --get-config cache_dir)
  export CCACHE_DIR
fi
export HOME="$work/home" LC_ALL=C CXX CXXFLAGS

fail() {
  printf '%s: %s\n' "$page" "$*" >&2
  exit 1
}

# Cuts the page into numbered steps, one file each.
awk -v steps="$work/steps/" '
  function begin(kind) {
    if (out != "") close(out)
    out = sprintf("%s%03d.%s", steps, ++count, kind)
    printf "" >out
  }
  /^```/ && inside { inside = 0; out = ""; next }
  /^```/ {
    inside = 1
    language = substr($0, 4)
    if (remark == "shown only") out = ""
    else if (remark ~ /^(file|same): /) {
      begin(substr(remark, 1, 4))
      print substr(remark, 7) >out
    } else if (language ~ /^(console|sh|cpp|text)$/) begin(language)
    else out = ""
    if (language == "cpp" && out ~ /cpp$/)
      print (remark ~ /^arguments: / ? substr(remark, 12) : "") >out
    remark = ""
    next
  }
  inside { if (out != "") print >out; next }
  /^<!-- .* -->$/ {
    remark = substr($0, 6, length($0) - 9)
    if (remark ~ /^needs: /) { begin("needs"); print substr(remark, 8) >out }
    next
  }
  /^#/ { begin("heading") }
  { remark = "" }' "$page"

# What the cpp blocks are the insides of; all are compiled at once.
makeRecipes() {
  cat "$@" | grep '^#include' | sort -u
  echo '#include <cstdlib>'
  number=0
  for step in "$@"; do
    number=$((number + 1))
    echo "static void recipe$number([[maybe_unused]] int argc,"
    echo "                    [[maybe_unused]] char** argv) {"
    echo "#line 1 \"block $number of ${page##*/}\""
    sed -e 1d -e '/^#include/d' "$step"
    echo "}"
  done
  echo "int main(int argc, char** argv) {"
  echo "  switch (std::atoi(argv[1])) {"
  while [ $number -gt 0 ]; do
    echo "    case $number: recipe$number(argc - 1, argv + 1); break;"
    number=$((number - 1))
  done
  echo "  }"
  echo "}"
}

prefix=$HOME/local
cmake --install "$build" --prefix "$prefix" >"$work/log" || fail "$(cat "$work/log")"
ln -s "$source" "$HOME/qorutil"
libraries=$(dirname "$(find "$prefix" -name 'libqorutil.*' | head -n 1)")
export LD_LIBRARY_PATH="$libraries"
set -- "$work"/steps/*.cpp
if [ -e "$1" ]; then
  makeRecipes "$@" >"$work/recipes.cpp"
  # shellcheck disable=SC2086  # these are lists of flags
  $CXX $CXXFLAGS -std=c++17 -I "$prefix/include" "$work/recipes.cpp" \
    -o "$work/recipes" $LDFLAGS -L "$libraries" -lqorutil
fi

# Runs the file $1. The first command that fails ends it; folder and environment
# stay as it leaves them.
runCommands() {
  set +e
  (
    set -e
    # shellcheck disable=SC1090  # a block of the page
    . "$1"
    pwd >"$work/folder"
    export -p >"$work/environment"
  ) >"$work/log" 2>&1 </dev/null
  status=$?
  set -e
  [ $status -eq 0 ] || fail "status $status: $(cat "$1" "$work/log")"
  # shellcheck disable=SC1091
  . "$work/environment"
  cd "$(cat "$work/folder")"
}

# Compares what was printed with what the page shows.
compare() {
  diff -u "$1" "$work/printed" || fail "shows other than what comes out"
  : >"$work/printed"
}

: >"$work/printed"
recipe=0
skipping=
awaited=
mkdir "$HOME/work"
cd "$HOME/work"
for step in "$work"/steps/*; do
  case ${step##*.} in
    heading) skipping= ;;
    needs)
      if ! command -v "$(cat "$step")" >/dev/null; then
        echo "left out: there is no $(cat "$step")"
        skipping=yes
      fi
      ;;
  esac
  [ "${step##*.}" != cpp ] || recipe=$((recipe + 1))
  if [ "$skipping" ]; then
    continue
  fi
  case ${step##*.} in
    file)
      file=$(head -n 1 "$step")
      mkdir -p "$(dirname "$file")"
      sed 1d "$step" >"$file"
      ;;
    same)
      sed 1d "$step" >"$work/shown"
      sed '1,/^$/d' "$source/$(head -n 1 "$step")" | diff -u "$work/shown" - ||
        fail "shows $(head -n 1 "$step") otherwise"
      ;;
    console)
      while IFS= read -r line; do
        case $line in
          '$ '*)
            printf '%s\n' "$line" >>"$work/printed"
            eval "${line#??}" >>"$work/printed" 2>&1 </dev/null || true
            ;;
        esac
      done <"$step"
      compare "$step"
      ;;
    sh) runCommands "$step" ;;
    cpp)
      [ -z "$awaited" ] || compare /dev/null
      # shellcheck disable=SC2046  # these are arguments
      "$work/recipes" $recipe $(head -n 1 "$step") >>"$work/printed" 2>&1 ||
        fail "block $recipe ends with status $?"
      awaited=yes
      ;;
    text)
      [ -z "$awaited" ] || compare "$step"
      awaited=
      ;;
  esac
done
[ -z "$awaited" ] || compare /dev/null
[ -e "$work/steps/001.heading" ] || fail "holds nothing"
