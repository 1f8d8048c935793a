#!/bin/sh
# SPDX-License-Identifier: MIT
#
# What the scripts of the folder $1 do before they build anything, and the order
# of .ci/run. The step $2 is a function below. The programs that would change
# the machine are replaced by ones that only note how they were called.
set -eu
root=$1
step=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
log=$work/log
out=$work/out
err=$work/err

fail() {
  echo "$*" >&2
  cat "$log" "$out" "$err" >&2
  exit 1
}

# Makes the program $1, which notes its call and then does what stands in $2.
replace() {
  {
    echo "#!/bin/sh"
    echo "echo $1 \"\$@\" >>'$log'"
    echo "$2"
  } >"$work/bin/$1"
  chmod +x "$work/bin/$1"
}

# A machine with everything installed, and nobody who may install more. What is
# not linked here is not there.
mkdir "$work/bin"
for tool in awk bash basename cat chmod cp date dirname env grep head mkdir \
  mktemp rm sed sh sort tail timeout; do
  ln -s "$(command -v $tool)" "$work/bin/$tool"
done
replace dpkg-query 'echo installed'
replace apt-cache ''
replace apt-get 'exit 1'
replace cmake 'echo "cmake version 3.25.1"'
replace id 'echo 1000'

# Runs a script: run STATUS COMMAND...
run() {
  wanted=$1
  shift
  : >"$log"
  status=0
  PATH=$work/bin "$@" </dev/null >"$out" 2>"$err" || status=$?
  [ "$status" = "$wanted" ] || fail "$*: status $status, not $wanted"
}

# The last line of standard error is $1.
expectLastError() {
  [ "$(tail -n 1 "$err")" = "$1" ] || fail "not the last line: $1"
}

# Exactly these calls have been made, one in a line.
expectCalls() {
  [ "$(cat "$log")" = "$1" ] || fail "the calls are not: $1"
}

# A wrong argument is told of in one line, before anything else happens.
refuses() {
  message=$1
  shift
  run 1 "$@"
  [ ! -s "$out" ] || fail "$*: prints something"
  [ "$(cat "$err")" = "$message" ] || fail "$*: does not say: $message"
  expectCalls ""
}

arguments() {
  for script in "$root"/scripts/*.sh; do
    case $script in
      */common.sh | */system.sh | */check-corpus.sh | */fuzz-compare.sh) continue ;;
    esac
    run 0 "$script" --help
    [ -s "$out" ] || fail "$script --help: prints nothing"
    expectCalls ""
  done
  presets="dev clang release asan clang-asan coverage tsan static hardened unsigned-char m32 armhf armhf-time64 arm64 s390x s390x-quick powerpc riscv64"
  refuses "test.sh: no preset \"nosuch\"; there are: $presets" \
    "$root/scripts/test.sh" dev nosuch
  refuses 'check-machines.sh: no machine "nosuch"; there are: s390x powerpc riscv64 armhf armhf-time64 arm64 m32' \
    "$root/scripts/check-machines.sh" m32 nosuch
  refuses "target-libc.sh: usage: $root/scripts/target-libc.sh ARCHITECTURE FOLDER" \
    "$root/scripts/target-libc.sh" armhf
  refuses 'demo.sh: takes no arguments, not "more"; see --help' \
    "$root/scripts/demo.sh" more
  refuses 'check-format.sh: takes no arguments, not "--mend"; see --help' \
    "$root/scripts/check-format.sh" --mend
  refuses 'fuzz.sh: no target "long"; there are: conversion loader options printers qorhex record strings version' \
    "$root/scripts/fuzz.sh" 10 record long
  refuses 'fuzz.sh: no option "--slow"; see --help' \
    "$root/scripts/fuzz.sh" --slow
  refuses "fuzz.sh: SECONDS and N are numbers from 1 on" \
    "$root/scripts/fuzz.sh" 0
  refuses "fuzz.sh: SECONDS and N are numbers from 1 on" \
    "$root/scripts/fuzz.sh" --runs=many
  refuses 'check-cuts.sh: takes no arguments, not "more"; see --help' \
    "$root/scripts/check-cuts.sh" more
  refuses 'mutate.sh: --count needs a number, not "all"' \
    "$root/scripts/mutate.sh" --count all
  refuses "check-debian.sh: usage: $root/scripts/check-debian.sh [--tests] [--no-system | --keep]" \
    "$root/scripts/check-debian.sh" --keep --no-system
  refuses "check-packaging.sh: no system \"nosuch\"; there are: openembedded buildroot openwrt vcpkg conan" \
    "$root/scripts/check-packaging.sh" nosuch
  refuses "check-static.sh: usage: $root/scripts/check-static.sh [cppcheck | analyzer]" \
    "$root/scripts/check-static.sh" lint
  refuses 'coverage.sh: takes no arguments, not "src"; see --help' \
    "$root/scripts/coverage.sh" src
  refuses 'bench.sh: no option "--slow"; see --help' \
    "$root/scripts/bench.sh" --slow
  refuses 'bench.sh: --rounds needs a value' \
    "$root/scripts/bench.sh" client --rounds
  run 1 "$root/scripts/bench.sh" client nosuch
  grep -q '^bench.sh: no group "nosuch"; there are: .*client' "$err" ||
    fail "does not name the groups"
  expectCalls ""
}

packages() {
  packages=$root/scripts/packages.sh

  run 0 "$packages" cmake g++
  [ ! -s "$out" ] || fail "says something needlessly"

  replace dpkg-query 'exit 1'
  run 1 "$packages" one two
  expectLastError "packages.sh: neither root nor sudo; as root, run: apt-get install one two"
  ! grep -q apt-get "$log" || fail "installs without rights"

  replace sudo 'exit 1'
  run 1 "$packages" one
  expectLastError "packages.sh: sudo refuses; as root, run: apt-get install one"

  # As root, with an archive that cannot be reached.
  replace id 'echo 0'
  run 1 "$packages" one
  expectLastError "packages.sh: cannot install one; is there a network?"

  replace apt-get ''
  run 0 "$packages" one
  grep -q '^apt-get .*install --no-remove .*one$' "$log" || fail "installs nothing"
  ! grep -q '^apt-get .*update$' "$log" || fail "updates needlessly"
}

system() {
  packages=$root/scripts/packages.sh
  replace dpkg-query 'exit 1'
  replace id 'echo 0'

  replace cmake 'echo "cmake version 3.18.4"'
  run 1 "$packages" g++ cmake
  expectLastError "packages.sh: needs CMake 3.25, and here is 3.18.4; Debian 12 or newer has it"
  ! grep -q apt-get "$log" || fail "installs something nevertheless"

  rm "$work/bin/cmake"
  replace apt-get ''
  replace apt-cache 'echo "  Candidate: 3.18.4-2"'
  run 1 "$packages" cmake
  expectLastError "packages.sh: needs CMake 3.25, and here is 3.18.4-2; Debian 12 or newer has it"
  replace apt-cache 'echo "  Candidate: 3.31.6-2"'
  run 0 "$packages" cmake
  replace apt-cache 'echo "  Candidate: (none)"'
  run 0 "$packages" cmake

  rm "$work/bin/dpkg-query"
  run 1 "$packages" g++ cmake
  expectLastError "packages.sh: needs Debian 12 or newer, which knows what is missing here as: g++ cmake"
}

# .ci/run among scripts that only note their calls; two of them fail.
ci() {
  mkdir -p "$work/project/.ci" "$work/project/scripts"
  cp "$root/.ci/run" "$work/project/.ci"
  "$work/project/.ci/run" --list | sed 's/^[^ ]* //; s/ .*//' | sort -u |
    while read -r script; do
      {
        echo "#!/bin/sh"
        echo "echo $script \"\$@\" >>'$log'"
        # shellcheck disable=SC2016 # that script expands them
        echo 'test "${1-}" != clang-asan && test "${0##*/}" != demo.sh'
      } >"$work/project/$script"
      chmod +x "$work/project/$script"
    done
  run 1 "$work/project/.ci/run"
  "$work/project/.ci/run" --list | grep -v arm | sed 's/^[^ ]* //' >"$work/all"
  sed 's/ *$//' "$log" | cmp - "$work/all" || fail "not all steps"
  sed -n '/## Summary/,$p' "$out" | grep FAILED | sed 's/.* //' >"$work/failed"
  [ "$(cat "$work/failed")" = "demo
clang-asan" ] || fail "the summary names other failures"

  run 0 "$work/project/.ci/run" --only bench
  expectCalls "scripts/bench.sh --quick"
  run 1 "$work/project/.ci/run" --only clang-asan
  expectCalls "scripts/test.sh clang-asan"
  run 0 "$work/project/.ci/run" --from m32
  [ "$(head -n 1 "$log")" = "scripts/test.sh m32" ] || fail "begins elsewhere"
  [ "$(wc -l <"$log")" -gt 1 ] || fail "ends there"
  for wrong in "--only nosuch" --only --from "--list more" nosuch; do
    # shellcheck disable=SC2086 # several arguments
    run 2 "$work/project/.ci/run" $wrong
    grep -q '^\.ci/run: .*; steps: format .* fuzz' "$err" ||
      fail "does not name the steps"
    expectCalls ""
  done
}

"$step"
