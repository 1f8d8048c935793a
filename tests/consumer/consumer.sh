#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Takes the library as its users do, one step per call; CMakeLists.txt beside it
# tells which there are and in what order. The compiler, its flags, the kind of
# build and the paths come in the environment. Each step works below the current
# folder.
set -eu
: "${source:?}" "${installed:?}" "${build:?}" "${version:?}" "${libdir:?}" "${pointerSize:?}"
: "${nm:?}" "${cxxfilt:?}" "${readelf:?}" "${emulator?}"
: "${CXX:?}" "${CXXFLAGS?}" "${LDFLAGS?}"
step=$1

# shellcheck source-path=SCRIPTDIR
. "$source/tests/consumer/common.sh"
staticInstalled=$PWD/static-installed
pkgConfig=${PKG_CONFIG:-pkg-config}
warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror"

# Installs the build in $1 into an empty prefix and moves that to $2.
installAndMove() {
  rm -rf "$2" "$2.before"
  quietly cmake --install "$1" --prefix "$2.before"
  mv "$2.before" "$2"
  if grep -rlF -e "$2.before" -e "$source" --include='*.cmake' \
    --include='*.h' "$2"; then
    fail "the files above name the folder that they were made in"
  fi
}

# Builds the client with CMake in the fresh folder $1 and runs it.
buildWithCmake() {
  folder=$1
  shift
  rm -rf "$folder"
  quietly cmake -S "$client" -B "$folder" "$@"
  quietly cmake --build "$folder"
  # shellcheck disable=SC2086  # the emulator has arguments of its own
  (cd "$folder" && $emulator ./client)
}

# Asks pkg-config about the package in the prefix $1, a tree that was moved. It
# finds the prefix itself where the folder of libraries is one level deep.
askPackage() {
  from=$1
  shift
  case $libdir in
    */*) moved=--define-variable=prefix=$from ;;
    *) moved=--define-prefix ;;
  esac
  PKG_CONFIG_PATH=$from/$libdir/pkgconfig $pkgConfig --print-errors \
    "$moved" "$@" qorutil
}

# Links the compiled client with what pkg-config tells of the prefix $1, and
# runs it.
linkWithPkgConfig() {
  # shellcheck disable=SC2046,SC2086  # these are lists of flags
  $CXX $CXXFLAGS pkg-config/*.o -o pkg-config/client $LDFLAGS \
    $(askPackage "$1" --libs ${2:+"$2"})
  # shellcheck disable=SC2086
  (cd pkg-config && LD_LIBRARY_PATH=$1/$libdir $emulator ./client)
}

# The names that the library $1 exports, demangled, in the order of the C locale.
exportedNames() {
  $nm --dynamic --defined-only "$1" |
    sed -e 's/^[0-9a-f]* //' -e '/^A /d' -e 's/^. //' \
      -e 's/@@*QORUTIL_0$//' | $cxxfilt -i | LC_ALL=C sort -u
}

install() {
  installAndMove "$build" "$installed"
}

# The package serves whoever asks for this version, or an older one of the same
# soname.
findPackage() {
  buildWithCmake find-package -DCMAKE_PREFIX_PATH="$installed" \
    -DQORUTIL_VERSION="${version%%.*}.0"
  expectSame "the number of include folders" 1 "$(grep -o '_IMPORT_PREFIX}/include' \
    "$installed/$libdir/cmake/qorutil/qorutilTargets.cmake" | grep -c .)"
  ! cmake -S "$client" -B find-other -DCMAKE_PREFIX_PATH="$installed" \
    -DQORUTIL_VERSION=99 >find-other.log 2>&1 ||
    fail "the package claims to be of version 99 as well"
  grep -q 'compatible with requested version "99"' find-other.log ||
    fail "$(cat find-other.log)"
}

# Headers found in this way warn as the client's own do.
pkgConfig() {
  command -v "$pkgConfig" >/dev/null || skip "there is no pkg-config"
  expectSame "the version" "$version" "$(askPackage "$installed" --modversion)"
  expectSame "the include path" "$installed/include" \
    "$(realpath "$(askPackage "$installed" --cflags | sed 's/^-I//; s/ *$//')")"
  rm -rf pkg-config
  mkdir pkg-config
  # shellcheck disable=SC2046,SC2086  # these are lists of flags
  (cd pkg-config && $CXX $CXXFLAGS -std=c++17 $warnings \
    $(askPackage "$installed" --cflags) -c "$client"/*.cpp)
  linkWithPkgConfig "$installed"
}

# Asks pkg-config about the package in the folder $1 as it was installed.
askInstalled() {
  from=$1
  shift
  # The answer can end with a blank.
  PKG_CONFIG_LIBDIR=$from/pkgconfig $pkgConfig --print-errors "$@" qorutil |
    sed 's/ *$//'
}

# The .pc file names the prefix without DESTDIR, so that the tree can be a sysroot.
sysroot() {
  command -v "$pkgConfig" >/dev/null || skip "there is no pkg-config"
  rm -rf sysroot
  quietly env DESTDIR="$PWD/sysroot" cmake --install "$build" --prefix /opt/qorutil \
    --component development
  package=$PWD/sysroot/opt/qorutil/$libdir
  expectSame "the prefix" /opt/qorutil \
    "$(askInstalled "$package" --variable=prefix)"
  expectSame "what a compiler is told" \
    "-I/opt/qorutil/include -L/opt/qorutil/$libdir -lqorutil" \
    "$(askInstalled "$package" --cflags --libs)"
  export PKG_CONFIG_SYSROOT_DIR="$PWD/sysroot"
  expectSame "what a cross compiler is told" \
    "-I$PWD/sysroot/opt/qorutil/include -L$PWD/sysroot/opt/qorutil/$libdir -lqorutil" \
    "$(askInstalled "$package" --cflags --libs)"
}

# Install folders outside the prefix, and a definition that clients share.
absoluteFolders() {
  command -v "$pkgConfig" >/dev/null || skip "there is no pkg-config"
  rm -rf absolute
  quietly cmake -DQORUTIL_INSTALL=ON -DCMAKE_INSTALL_LIBDIR="$PWD/absolute/lib" \
    -DCMAKE_INSTALL_INCLUDEDIR="$PWD/absolute/include" \
    -DCLIENT_DEFINITIONS="SHARED_ONE;SHARED_TWO=2" subproject
  quietly cmake --build subproject --target qorutil
  quietly cmake --install subproject --prefix "$PWD/absolute/prefix"
  expectSame "the include path" "-I$PWD/absolute/include" \
    "$(askInstalled "$PWD/absolute/lib" --cflags-only-I)"
  expectSame "the list of definitions" "-DSHARED_ONE -DSHARED_TWO=2" \
    "$(askInstalled "$PWD/absolute/lib" --cflags-only-other)"
  expectSame "the linker's flags" "-L$PWD/absolute/lib -lqorutil" \
    "$(askInstalled "$PWD/absolute/lib" --libs)"
  grep -q 'INTERFACE_COMPILE_DEFINITIONS "SHARED_ONE;SHARED_TWO=2"' \
    absolute/lib/cmake/qorutil/qorutilTargets.cmake ||
    fail "the CMake package does not have the definitions"
  test -f absolute/include/qorutil/strings.h || fail "the headers are elsewhere"
}

# What the components hold, together and each.
components() {
  rm -rf components
  mkdir components
  for component in runtime development tools; do
    quietly cmake --install "$build" --prefix "$PWD/components/$component" \
      --component "$component"
  done
  {
    echo "runtime/$libdir/libqorutil.so.${version%%.*}"
    echo "runtime/$libdir/libqorutil.so.$version"
    for header in "$source"/include/qorutil/*.h; do
      echo "development/include/qorutil/${header##*/}"
    done
    echo development/include/qorutil/config.h  # made when configuring
    echo "development/$libdir/libqorutil.so"
    echo "development/$libdir/pkgconfig/qorutil.pc"
    for component in development runtime tools; do
      echo "$component/share/doc/qorutil/LICENSE"
    done
    echo tools/bin/qorhex
    echo tools/share/man/man1/qorhex.1
    echo tools/share/qorutil/qorhex.schema.json
    echo tools/share/man/man7/qorhex-examples.7
    echo tools/share/bash-completion/completions/qorhex
    echo tools/share/zsh/site-functions/_qorhex
    echo tools/share/fish/vendor_completions.d/qorhex.fish
  } | LC_ALL=C sort >components/expected.txt
  (cd components && find runtime development tools ! -type d |
    grep -v "^development/$libdir/cmake/qorutil/qorutil[A-Za-z-]*\.cmake$" |
    LC_ALL=C sort) >components/found.txt
  diff -u components/expected.txt components/found.txt
  (cd components && find runtime development tools ! -type d |
    sed 's|^[a-z]*/||') | LC_ALL=C sort -u >components/together.txt
  (cd "$installed" && find . ! -type d | sed 's|^\./||') | LC_ALL=C sort |
    diff -u components/together.txt -
  cmp "$source/LICENSE" components/runtime/share/doc/qorutil/LICENSE
}

# The tool finds the library of its own tree, built or installed, by a path that
# does not tell where that is.
runPaths() {
  for program in "$build/tools/qorhex/qorhex" "$installed/bin/qorhex"; do
    path=$($readelf -d "$program" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')
    # shellcheck disable=SC2016  # the dynamic linker expands it
    printf '%s\n' "$path" | grep -qxE '\$ORIGIN/\.\./[^:/]*(/[^:/]*)*:*' ||
      fail "the run path of $program is '$path'"
  done
}

# The sources inside another project, which asked for nothing but the library.
subproject() {
  buildWithCmake subproject -DQORUTIL_SOURCE="$source"
  if cmake --build subproject --target help | grep -E '_test|qorhex'; then
    fail "the subproject has the targets above"
  fi
  rm -rf subproject-installed
  quietly cmake --install subproject --prefix "$PWD/subproject-installed"
  if test -e subproject-installed; then
    find subproject-installed
    fail "the subproject installs the files above"
  fi
}

# The static library, installed from the subproject, so that it is compiled once.
installStatic() {
  quietly cmake -DQORUTIL_INSTALL=ON -DCMAKE_INSTALL_LIBDIR="$libdir" subproject
  quietly cmake --build subproject
  installAndMove subproject "$staticInstalled"
  expectSame "the list of libraries" libqorutil.a \
    "$(cd "$staticInstalled/$libdir" && echo libqorutil.*)"
}

# Whatever else the archive defines could be a name of its user's, and one of the
# two would be taken for both. So it is inside qorutil_internal or a class of the
# interface, is std's, or is one that every program may have from its compiler.
archiveNames() {
  test "$pointerSize" = 8 || skip "the list shows the types of 64-bit targets"
  exported=$source/tests/consumer/exported_symbols.txt
  classes=$(sed -n 's/^\([A-Za-z]*\)::.*/\1/p' "$exported" | sort -u | paste -sd '|')
  # Mangled, where no return type comes first. T and G: what the compiler makes for
  # a class, its virtual functions or a static object; Z: something local. At the
  # end the operators new and delete that <new> defines.
  internal='^_Z(T[VTISC]|T(v0_n|hn)[0-9]+_|GV|GR)?[NZKVRO]*(16qorutil_internal|S[tabsiod]|9__gnu_cxx)'
  compiler='^(DW\.ref\..*|__clang_call_terminate|_Znw[jm]Pv|_ZdlPvS_)$'
  $nm --defined-only "$staticInstalled/$libdir/libqorutil.a" |
    sed -n 's/^[0-9a-f]* [A-Zu] //p' >archive.txt
  test -s archive.txt || fail "the library defines nothing"
  grep -vE -e "$internal" -e "$compiler" archive.txt |
    $cxxfilt -i | LC_ALL=C sort -u | LC_ALL=C comm -23 - "$exported" |
    grep -vE "^(([a-z]+ )+for (.*-in-)?)?($classes)(::|$)" >archive_names.txt || true
  expectSame "the list of names that are not the library's to take" "" \
    "$(cat archive_names.txt)"
}

staticFindPackage() {
  buildWithCmake static-find-package -DCMAKE_PREFIX_PATH="$staticInstalled"
}

# The objects are those of the shared library's client.
staticPkgConfig() {
  test -d pkg-config || skip "there is no pkg-config"
  linkWithPkgConfig "$staticInstalled" --static
}

# Each header compiles alone, twice, by the compiler $1 under the standard $2.
headers() {
  flags=
  test "$1" != "$CXX" || flags=$CXXFLAGS
  for path in "$installed"/include/qorutil/*.h; do
    header=qorutil/${path##*/}
    # shellcheck disable=SC2086  # these are lists of flags
    printf '#include <%s>\n' "$header" "$header" |
      $1 $flags -std="$2" $warnings -fsyntax-only -I "$installed/include" \
        -x c++ - || fail "$header does not compile alone"
  done
}

# The header that includes all the others leaves none out.
umbrella() {
  cd "$installed/include/qorutil"
  expectSame "the list of headers in qorutil.h" \
    "$(printf '#include "qorutil/%s"\n' *.h | grep -vE '/(config|export|qorutil)\.h')" \
    "$(grep '^#include' qorutil.h)"
}

# The names of the interface, with its type information, tables and thunks, and
# nothing else. The list holds them demangled, in the order of the C locale;
# after a wanted change the exported_symbols.txt that this writes replaces it.
symbols() {
  test "$pointerSize" = 8 || skip "the list shows the types of 64-bit targets"
  exportedNames "$installed/$libdir/libqorutil.so" >exported_symbols.txt
  diff -u "$source/tests/consumer/exported_symbols.txt" exported_symbols.txt
}

# The same names whichever linker reads the list of the interface.
linkers() {
  test "$pointerSize" = 8 || skip "the list shows the types of 64-bit targets"
  rm -rf linkers
  mkdir linkers
  for linker in bfd gold lld mold; do
    if ! command -v "$($CXX -print-prog-name="ld.$linker")" >/dev/null; then
      echo "There is no $linker."
      continue
    fi
    # shellcheck disable=SC2086  # these are lists of flags
    quietly $CXX $CXXFLAGS $LDFLAGS -fuse-ld="$linker" -shared \
      -Wl,--version-script="$source/src/qorutil.map" -Wl,--gc-sections \
      -Wl,--whole-archive "$staticInstalled/$libdir/libqorutil.a" \
      -Wl,--no-whole-archive -o "linkers/$linker.so"
    exportedNames "linkers/$linker.so" >"linkers/$linker.txt"
    diff -u "$source/tests/consumer/exported_symbols.txt" "linkers/$linker.txt"
  done
}

# The client uses every name of that list, but for the tables and thunks that
# come with a class.
everyName() {
  test -d pkg-config || skip "there is no pkg-config"
  test "$pointerSize" = 8 || skip "the list shows the types of 64-bit targets"
  $nm --undefined-only pkg-config/*.o | sed -n 's/^ *U //p' | $cxxfilt -i |
    LC_ALL=C sort -u >used.txt
  expectSame "the list of exported names that the client leaves out" "" \
    "$(LC_ALL=C comm -23 "$source/tests/consumer/exported_symbols.txt" used.txt |
      grep -vE '^(VTT|vtable|typeinfo name) for |thunk to ')"
}

# The name that programs load the library by, and the libraries that it loads.
dependencies() {
  $readelf -d "$installed/$libdir/libqorutil.so" >dynamic.txt
  expectSame "the soname" libqorutil.so.0 \
    "$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' dynamic.txt)"
  case $CXXFLAGS in
    *-fsanitize*) skip "a sanitizer adds libraries" ;;
  esac
  grep -q '(NEEDED).*\[libstdc++\.so' dynamic.txt ||
    fail "the library does not name libstdc++"
  if grep '(NEEDED)' dynamic.txt |
    grep -vE '\[(libc|libm|libgcc_s|libstdc\+\+|ld-linux[^.]*)\.so\.[0-9]+\]'
  then
    fail "the library needs the ones above"
  fi
}

"$@"
