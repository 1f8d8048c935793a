#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Holds the names that the library exports against debian/libqorutil0.symbols, for
# each kind of processor whose cross compiler is here: a name that is missing or
# new is an error. --update writes the list anew, with the present version at new
# names; it needs the compilers for 32-bit and 64-bit ARM.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

list=debian/libqorutil0.symbols
version=$(projectVersion)
export LC_ALL=C

# Configures build/symbols/NAME: configure NAME SETTING...
configure() {
  local name=symbols/$1
  shift
  prepareBuild "$name"
  cmake -S . -B "build/$name" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DQORUTIL_BUILD_TESTS=OFF -DQORUTIL_BUILD_TOOLS=OFF \
    -DQORUTIL_BUILD_EXAMPLES=OFF "$@"
}

# Builds the library in FOLDER, which COMMAND configures, and prints its path:
# build FOLDER COMMAND...
build() {
  local folder=$1
  shift
  if ! { "$@" && cmake --build "$folder" --target qorutil; } \
    >build/symbols/log 2>&1; then
    tail -n 40 build/symbols/log >&2
    fail "the build failed; see build/symbols/log"
  fi
  echo "$folder/src/libqorutil.so"
}

toolchain() {
  echo "-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/toolchains/$1.cmake"
}

# Debian's names of the architectures; armel stands for 64 bits of time_t.
architectures=()
libraries=()
note() {
  architectures+=("$1")
  libraries+=("$2=$3")
}

update=no
if [[ ${1-} == --update ]]; then
  update=yes
  shift
fi
noArguments "$@"
scripts/packages.sh g++ cmake ninja-build dpkg-dev python3 binutils
if [[ $update == yes ]]; then
  scripts/packages.sh g++-arm-linux-gnueabihf g++-aarch64-linux-gnu
fi

prepareBuild symbols
library=$(build build/dev configureWithoutTests dev)
note amd64 64 "$library"
if command -v aarch64-linux-gnu-g++ >/dev/null; then
  library=$(build build/symbols/arm64 configure arm64 \
    "$(toolchain aarch64-linux-gnu)")
  note arm64 64 "$library"
fi
if command -v arm-linux-gnueabihf-g++ >/dev/null; then
  library=$(build build/symbols/armhf configure armhf \
    "$(toolchain arm-linux-gnueabihf)")
  note armhf 32 "$library"
  library=$(build build/symbols/time64 configure time64 \
    "$(toolchain arm-linux-gnueabihf)" \
    -DCMAKE_CXX_FLAGS='-D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64')
  note armel 32 "$library"
fi
if [[ $update == yes ]]; then
  scripts/symbols.py "$version" "$list" "${libraries[@]}" >build/symbols/new
  cp build/symbols/new "$list"
fi
for index in "${!libraries[@]}"; do
  dpkg-gensymbols -q -c4 -plibqorutil0 "-v$version" "-a${architectures[index]}" \
    "-e${libraries[index]#*=}.0" "-I$list" -Obuild/symbols/found ||
    fail "$list does not fit ${libraries[index]#*=}; --update writes it anew"
  echo "${libraries[index]#*=}: $(grep -c '^ ' build/symbols/found) names"
done
