#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds the library and runs all its tests. Installs the packages that are
# missing. Without an argument the debug build of g++ is tested; the arguments
# are presets of CMakePresets.json to test instead: scripts/test.sh clang asan

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mapfile -t presets < <(sed -n \
  '/"testPresets"/,/^  ]/s/.*"configurePreset": "\([^"]*\)".*/\1/p' \
  CMakePresets.json | awk '!known[$0]++')
for preset in "$@"; do
  [[ " ${presets[*]} " == *" $preset "* ]] ||
    fail "no preset \"$preset\"; there are: ${presets[*]}"
done

# What a preset needs beyond the rest. For m32 not g++-multilib, which cannot be
# installed beside cross compilers.
packagesFor() {
  case $1 in
    dev) echo zsh fish ;;  # which complete qorhex's options
    clang) echo clang ;;
    hardened) echo dpkg-dev ;;
    clang-asan | coverage) echo clang libclang-rt-dev ;;
    m32) echo "g++-$(g++ -dumpversion)-multilib googletest" ;;
    armhf*) echo g++-arm-linux-gnueabihf qemu-user googletest ;;
    arm64) echo g++-aarch64-linux-gnu qemu-user googletest ;;
    s390x* | powerpc | riscv64)
      echo "g++-${1%-quick}-linux-gnu" qemu-user googletest
      ;;
  esac
}

# Puts the target's own C library where a cross build looks for it.
fetchLibraries() {
  case $1 in
    arm64 | armhf* | s390x | powerpc | riscv64) ;;
    *) return ;;
  esac
  local status=0
  scripts/target-libc.sh "${1%-time64}" "build/$1/libc" || status=$?
  if [[ $status == 2 ]]; then
    say "Going on without conversions and C.UTF-8"
  elif [[ $status != 0 ]]; then
    exit "$status"
  fi
}

scripts/packages.sh g++ cmake ninja-build pkgconf libgtest-dev libgmock-dev \
  zlib1g-dev git python3 python3-jsonschema
for preset in "${@:-dev}"; do
  # The guides show other build systems as well. Without them these parts are left
  # out.
  if [[ $preset == dev ]] && ! scripts/packages.sh automake meson; then
    say "Going on without automake and meson"
  fi
  read -ra packages < <(packagesFor "$preset") || true
  scripts/packages.sh "${packages[@]}"
  prepareBuild "$preset"
  fetchLibraries "$preset"
  say "Building in build/$preset"
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  say "Testing in build/$preset"
  ctest --preset "$preset"
done
