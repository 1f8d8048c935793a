#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Prints what the library costs a small board: bytes of code and data at -Os for
# 32-bit and 64-bit ARM, as a table for docs/performance.md. Shared, that is the
# library, and its stripped file with what aligns it. Static, that is what a program grows by that uses every name
# of a family, or of all: libstdc++ stays shared. Both with link-time optimisation
# as well.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

families=(intelhex exception options scheduler conversion version strings
  formatting time system)
folder=build/sizes
export LC_ALL=C  # for comm

# Builds the library for `target` in the folder of `kind`, both ways.
build() {
  local target=$1 kind=$2 shared optimization=OFF
  [[ $kind == plain ]] || optimization=ON
  for shared in ON OFF; do
    cmake -S . -B "$folder/$target/$kind" -G Ninja \
      -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/$target.cmake" \
      -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG" \
      -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=$optimization \
      -DBUILD_SHARED_LIBS=$shared -DQORUTIL_BUILD_TESTS=OFF \
      -DQORUTIL_BUILD_TOOLS=OFF -DQORUTIL_BUILD_EXAMPLES=OFF
    cmake --build "$folder/$target/$kind" --target qorutil
  done
}

# The names of the library that a client of `family` uses, for the linker.
listNames() {
  local target=$1 family=$2 client=$folder/$1/$2.o
  "$target-g++" -std=c++17 -Iinclude -c "tests/consumer/client/$family.cpp" \
    -o "$client"
  comm -12 \
    <("$target-nm" --undefined-only "$client" | awk '{print $2}' | sort -u) \
    <("$target-nm" --defined-only "$folder/$target/plain/src/libqorutil.a" \
      2>/dev/null | awk 'NF == 3 {print $3}' | sort -u) |
    sed 's/^/-Wl,-u,/' >"$folder/$target/$family.names"
  [[ -s $folder/$target/$family.names ]] || fail "no names of $family"
}

codeAndData() {
  "$1-size" "$2" | awk 'NR == 2 {print $1 + $2}'
}

# The code and data of a program that uses the names listed in the files given.
programSize() {
  local target=$1 kind=$2 program=$folder/$1/program options=()
  shift 2
  [[ $kind == plain ]] || options=(-flto)
  "$target-g++" -Os "${options[@]}" -Wl,--gc-sections benchmarks/trivial.cpp \
    "${@/#/@}" "$folder/$target/$kind/src/libqorutil.a" -o "$program"
  codeAndData "$target" "$program"
}

fileSize() {
  "$1-strip" -o "$folder/$1/stripped" "$2"
  stat -c %s "$folder/$1/stripped"
}

# What a program grows by.
growth() {
  echo $(($(programSize "$@") - $(programSize "$1" "$2")))
}

targets=(arm-linux-gnueabihf aarch64-linux-gnu)
scripts/packages.sh cmake ninja-build "${targets[@]/#/g++-}"
prepareBuild sizes
for target in "${targets[@]}"; do
  for kind in plain lto; do
    say "Building for $target, $kind" >&2
    build "$target" $kind >&2
  done
  for family in "${families[@]}"; do
    listNames "$target" "$family"
  done
done

echo '| bytes | armhf | armhf, LTO | arm64 | arm64, LTO |'
echo '| --- | ---: | ---: | ---: | ---: |'
for size in codeAndData fileSize; do
  row='| shared library'
  [[ $size == codeAndData ]] || row+=', file'
  for target in "${targets[@]}"; do
    for kind in plain lto; do
      row+=" | $($size "$target" "$folder/$target/$kind/src/libqorutil.so")"
    done
  done
  echo "$row |"
done
for family in all "${families[@]}"; do
  row="| static, \`$family.h\`"
  [[ $family != all ]] || row='| static, everything'
  for target in "${targets[@]}"; do
    names=("$folder/$target/$family.names")
    [[ $family != all ]] ||
      names=("${families[@]/%/.names}") names=("${names[@]/#/$folder/$target/}")
    for kind in plain lto; do
      row+=" | $(growth "$target" $kind "${names[@]}")"
    done
  done
  echo "$row |"
done
