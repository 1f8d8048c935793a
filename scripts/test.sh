#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds the library and runs all its tests. Installs the packages that are
# missing. Without an argument the debug build of g++ is tested; the arguments
# are presets of CMakePresets.json to test instead: scripts/test.sh clang asan

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packagesFor() {
  echo g++ cmake ninja-build pkgconf libgtest-dev libgmock-dev
  case $1 in
    clang) echo clang ;;
    m32) echo g++-multilib googletest ;;
  esac
}

for preset in "${@:-dev}"; do
  mapfile -t packages < <(packagesFor "$preset" | tr ' ' '\n')
  scripts/packages.sh "${packages[@]}"
  prepareBuild "$preset"
  say "Building in build/$preset"
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  say "Testing in build/$preset"
  ctest --preset "$preset"
done
