#!/bin/sh
# SPDX-License-Identifier: MIT
#
# What the build makes of the settings of those who build, one step per call; it
# configures, and compiles nothing. The paths come in the environment. Each step
# works below the current folder.
set -eu
: "${source:?}" "${installed:?}"
step=$1
unset CXXFLAGS LDFLAGS CMAKE_BUILD_TYPE CMAKE_TOOLCHAIN_FILE

# shellcheck source-path=SCRIPTDIR
. "$source/tests/consumer/common.sh"

# Configures the library, or the project $project around it, in a fresh folder.
configure() {
  rm -rf "settings.$step"
  quietly cmake -S "${project:-$source}" -B "settings.$step" \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DQORUTIL_BUILD_TESTS=OFF \
    -DQORUTIL_BUILD_EXAMPLES=OFF "$@"
}

# What configuring the folder $1 with the rest says, which has to fail.
refusal() {
  folder=$1
  shift
  if cmake -S "$source" -B "$folder" "$@" >"$step.log" 2>&1; then
    fail "CMake takes what it has to refuse"
  fi
  tr -s ' \n' ' ' <"$step.log"
}

# The commands that compile the library.
commands() {
  grep '"command":.* -c [^ ]*/src/' "settings.$step/compile_commands.json"
}

# The optimisation level that counts in each of them, the last one.
levels() {
  commands | sed -E 's/ -c .*//; / -O/!s/.*/none/; s/.* (-O[^ ]*).*/\1/' | sort -u
}

# The settings given lead to the level $1.
expectLevel() {
  level=$1
  shift
  quietly cmake "settings.$step" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS= -DCMAKE_CXX_FLAGS_RELEASE="-O3 -DNDEBUG" "$@"
  expectSame "the level of $*" "$level" "$(levels)"
}

# An optimisation level of the builder's is kept.
optimization() {
  configure
  expectSame "the level without settings" -O2 "$(levels)"
  expectLevel -Os -DCMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG"
  expectLevel -O3 -DCMAKE_CXX_FLAGS_RELEASE=-O3
  expectLevel -Os -DCMAKE_CXX_FLAGS="-g -O1 -Os -Wall"
  expectLevel -O1 -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG
  expectLevel none -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG
  expectLevel none -DCMAKE_BUILD_TYPE=Debug
  expectLevel -Os -DCMAKE_BUILD_TYPE=MinSizeRel
}

# Within a project that names no build type the library is optimised; a project
# that names a level has it.
optimizationWithin() {
  project=$client
  configure -DQORUTIL_SOURCE="$source"
  expectSame "the level without settings" -O2 "$(levels)"
  quietly cmake "settings.$step" -DCMAKE_CXX_FLAGS=-Os
  expectSame "the level of the project" -Os "$(levels)"
}

tests() {
  configure -UQORUTIL_BUILD_TESTS -DBUILD_TESTING=OFF
  expectSame "the default of QORUTIL_BUILD_TESTS" OFF \
    "$(sed -n 's/^QORUTIL_BUILD_TESTS:BOOL=//p' "settings.$step/CMakeCache.txt")"
}

# The builder's run path, and code that stays where it is.
runPath() {
  configure -DCMAKE_INSTALL_RPATH=/opt/run-path
  grep -q 'RPATH "/opt/run-path"' "settings.$step/tools/qorhex/cmake_install.cmake" ||
    fail "the installed program does not get the run path of the builder"
}

positionIndependent() {
  configure -DBUILD_SHARED_LIBS=OFF
  commands | grep -qv ' -fPIC ' && fail "a static library is not -fPIC"
  quietly cmake "settings.$step" -DCMAKE_POSITION_INDEPENDENT_CODE=OFF
  commands | grep ' -fPIC ' && fail "the library is -fPIC against the builder's wish"
  quietly cmake "settings.$step" -DBUILD_SHARED_LIBS=ON
  commands | grep -qv ' -fPIC ' && fail "a shared library is not -fPIC"
  true
}

# Building among the sources is refused, with the command to use.
among() {
  rm -rf "settings.$step"
  mkdir "settings.$step"
  cp "$source/CMakeLists.txt" "settings.$step"
  (cd "settings.$step" && ! cmake . >../"$step.log" 2>&1) ||
    fail "CMake builds among the sources"
  grep -q '^    cmake -S \. -B build/install$' "$step.log" ||
    fail "$(cat "$step.log")"
}

libcxx() {
  flags=-stdlib=libc++
  echo '#include <cstddef>' | clang++ $flags -fsyntax-only -x c++ - 2>"$step.log" ||
    skip "there is no clang++ with libc++"
  rm -rf "settings.$step"
  refusal "settings.$step" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=$flags |
    grep -q 'cannot be built with libc++: .* plain unsigned int' ||
    fail "$(cat "$step.log")"
}

# The toolchain files keep the roots that are given, and look into the prefixes
# that are given.
toolchains() {
  for file in "$source"/cmake/toolchains/*-linux-*.cmake; do
    target=${file##*/}
    cat >toolchain.cmake <<EOF
cmake_policy(VERSION 3.20)
include($file)
foreach(folder IN ITEMS /given /prefix /usr/${target%.cmake})
  if(NOT folder IN_LIST CMAKE_FIND_ROOT_PATH)
    message(FATAL_ERROR "\${folder} is missing in \${CMAKE_FIND_ROOT_PATH}")
  endif()
endforeach()
EOF
    quietly cmake -DCMAKE_FIND_ROOT_PATH=/given -DCMAKE_PREFIX_PATH=/prefix \
      -P toolchain.cmake
  done
}

# A cross compiler finds the package in a prefix outside of its root. That it is
# of another processor does not matter for looking.
crossFindPackage() {
  command -v aarch64-linux-gnu-g++ >/dev/null || skip "there is no cross compiler"
  unset CXX
  project=$client
  configure -DCMAKE_PREFIX_PATH="$installed" \
    -DCMAKE_TOOLCHAIN_FILE="$source/cmake/toolchains/aarch64-linux-gnu.cmake"
}

"$@"
