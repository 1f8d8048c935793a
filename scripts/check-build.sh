#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Holds what the build promises to those who build otherwise than the tests do.
# Without an argument everything; arguments choose:
#
#     lto       with link-time optimisation the library exports the interface alone
#     o3        the same with -O3
#     fuzz      the same with the flags of the fuzz targets
#     clang     neither the shared nor the static library of clang++ has other names
#     same      qorhex is the same, byte by byte, from two folders
#     musl      library and qorhex compile with the headers of musl, and need no
#               name that neither musl nor the compiler's libraries have
#     pkgconfig the .pc file serves the classic pkg-config, Debian 11's
#
#     scripts/check-build.sh [check...]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Builds `target` in build/check/NAME; the rest are settings.
build() {
  local name=$1 target=$2
  shift 2
  prepareBuild "check/$name"
  cmake -S . -B "build/check/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DQORUTIL_BUILD_EXAMPLES=OFF -DQORUTIL_BUILD_FUZZERS=OFF \
    -DBUILD_SHARED_LIBS=ON "$@" >/dev/null
  cmake --build "build/check/$name" --target "$target"
}

# The exports of a library built with these settings are the interface; `tests`
# are those of the installed library that say so.
checkExports() {
  local name=$1
  shift
  scripts/packages.sh libgtest-dev libgmock-dev
  build "$name" qorutil -DQORUTIL_BUILD_TOOLS=OFF -DQORUTIL_BUILD_TESTS=ON "$@"
  ctest --test-dir "build/check/$name" --output-on-failure --no-tests=error \
    -R "^consumer\.($tests)\$"
}

tests='install|symbols'

checkLto() {
  checkExports lto -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON
}

checkO3() {
  checkExports o3 -DCMAKE_CXX_FLAGS_RELEASE=-O3
}

checkFuzz() {
  scripts/packages.sh clang
  checkExports fuzz --preset fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo
}

checkClang() {
  scripts/packages.sh clang
  local tests="$tests|subproject|installStatic|archiveNames"
  checkExports clang -DCMAKE_CXX_COMPILER=clang++
}

# Without a compiler cache, which would give the second folder what the first made.
checkSame() {
  local folder
  for folder in same/one same/the-other; do
    CMAKE_CXX_COMPILER_LAUNCHER='' build $folder qorhex -DQORUTIL_BUILD_TESTS=OFF
  done
  cmp build/check/same/{one,the-other}/tools/qorhex/qorhex
  cmp build/check/same/{one,the-other}/src/libqorutil.so
}

# The names that the object files or libraries given define, or use.
names() {
  nm --no-sort "$@" | sed -n 's/^[0-9a-f ]* [A-Za-z] \([^@]*\).*/\1/p' |
    LC_ALL=C sort -u
}

# Debian has no libstdc++ for musl. The one for glibc serves to compile: what its
# headers want of glibc alone is in a header of ours. Nothing of that can run.
checkMusl() {
  local architecture compiler folder=build/check/musl missing source
  scripts/packages.sh g++ musl-dev
  architecture=$(g++ -print-multiarch)
  compiler=$(g++ -dumpversion)
  prepareBuild check/musl
  rm -rf $folder
  mkdir -p $folder/include
  ln -s /usr/include/{linux,asm-generic} "/usr/include/$architecture/asm" \
    $folder/include
  cat >$folder/include/glibc_names.h <<'END'
#define __GLIBC_PREREQ(major, minor) 0
#define __locale_t locale_t
enum { _ISupper = 1, _ISlower = 2, _ISalpha = 4, _ISdigit = 8, _ISxdigit = 16,
       _ISspace = 32, _ISprint = 64, _ISgraph = 128, _ISblank = 256,
       _IScntrl = 512, _ISpunct = 1024, _ISalnum = 2048 };
END
  # Those of a folder at once: most of the time goes into the headers.
  projectFiles 'src/*.cpp' 'tools/*.cpp' | while read -r source; do
    printf '#include "%s"\n' "$PWD/$source" \
      >>"$folder/$(dirname "$source" | tr / .).cpp"
  done
  printf '%s\0' "$folder"/*.cpp |
    xargs -0 -P "$(nproc)" -I{} sh -c "g++ -std=c++17 -c -fPIC -nostdinc \
    -isystem /usr/include/c++/$compiler \
    -isystem /usr/include/$architecture/c++/$compiler \
    -isystem /usr/include/c++/$compiler/backward \
    -isystem /usr/include/${architecture%gnu}musl \
    -isystem $(g++ -print-file-name=include) -isystem $folder/include \
    -include glibc_names.h -Iinclude -Isrc -Itools/qorhex \
    -DQORHEX_VERSION='\"0\"' -D_FILE_OFFSET_BITS=64 {} -o {}.o"
  missing=$(LC_ALL=C comm -23 <(names --undefined-only $folder/*.o) \
    <({
      names --defined-only $folder/*.o
      names --dynamic --defined-only \
        "/usr/lib/${architecture%gnu}musl/libc.so" \
        "$(g++ -print-file-name=libstdc++.so)" \
        "$(g++ -print-file-name=libgcc_s.so.1)"
      printf '%s\n' _GLOBAL_OFFSET_TABLE_ __dso_handle  # the linker's
    } | LC_ALL=C sort -u) | c++filt)
  [[ -z $missing ]] || fail "not to be had with musl: $missing"
  echo "$(cat $folder/*.cpp | wc -l) sources compile with musl's headers."
}

# Unpacks Debian 11's package in the folder $1, from the archive that this machine
# uses; nothing of it is installed.
unpackClassicPkgConfig() {
  local archive options
  scripts/packages.sh libglib2.0-0
  prepareBuild check/pkgconfig
  mkdir -p "$1"/lists/partial "$1"/cache/archives/partial
  # shellcheck disable=SC2016  # apt-get expands it
  archive=$(apt-get indextargets --format '$(REPO_URI)' \
    'Created-By: Packages' 'Origin: Debian' 'Component: main' | head -n 1)
  printf 'deb [signed-by=%s] %s bullseye main\n' \
    /usr/share/keyrings/debian-archive-keyring.gpg "$archive" >"$1/sources.list"
  options=(-qq -o "Dir::Etc::sourcelist=$1/sources.list"
    -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$1/lists"
    -o "Dir::Cache=$1/cache" -o Debug::NoLocking=1)
  apt-get "${options[@]}" update
  (cd "$1" && apt-get "${options[@]}" download pkg-config/bullseye) &&
    dpkg -x "$1"/pkg-config_*.deb "$1"
}

# Debian 12 has pkgconf alone; the release before it had the classic one.
checkPkgconfig() {
  local folder=$PWD/build/check/pkgconfig
  if [[ ! -x $folder/usr/bin/pkg-config ]] &&
    ! unpackClassicPkgConfig "$folder"; then
    echo "Skipped: the archive has no classic pkg-config any more."
    return
  fi
  if [[ ! -f build/dev/build.ninja ]]; then
    scripts/test.sh dev
  fi
  cmake --build --preset dev --target qorutil qorhex
  echo "pkg-config $("$folder/usr/bin/pkg-config" --version)"
  PKG_CONFIG=$folder/usr/bin/pkg-config ctest --preset dev --no-tests=error \
    -R '^consumer\.(pkgConfig|sysroot|absoluteFolders|staticPkgConfig)$'
}

if [[ $# == 0 ]]; then
  set -- lto o3 fuzz clang same musl pkgconfig
fi
scripts/packages.sh g++ cmake ninja-build
for check in "$@"; do
  say "Checking: $check"
  case $check in
    lto | o3 | fuzz | clang | same | musl | pkgconfig) "check${check^}" ;;
    *) fail "there is no check $check" ;;
  esac
done
