#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Checks the recipes in packaging/ as far as a machine can that has none of those
# systems: each builds with the options that the recipe itself gives and the
# flags of its system, installs into a folder of its own, and the files there are
# what its packages take. Without an argument all; arguments choose:
#
#     openembedded  for 32-bit ARM with a time_t of 64 bits
#     buildroot     for 64-bit ARM, with -Os; a client finds it in the staging folder
#     openwrt       for this machine, with -Os; GNU libc stands for musl
#     vcpkg         for this machine, static
#     conan         the same, through the recipe itself; where conan is installed,
#                   it makes the package as well
#
#     scripts/check-packaging.sh [system...]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

checks=$PWD/tests/packaging

# Configures with the settings given, builds, and installs into build/packaging/
# NAME/root, where the system would have its files at the top. Nothing of the
# machine's own environment takes part.
buildAndInstall() {
  local name=$1 folder=build/packaging/$1
  shift
  prepareBuild "packaging/$name"
  rm -rf "${folder:?}/root" "$folder/build/CMakeCache.txt"
  cmake -S . -B "$folder/build" -G Ninja -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR=lib "$@" >"$folder/log"
  cmake --build "$folder/build" >>"$folder/log" || {
    tail -n 40 "$folder/log" >&2
    fail "$name: the build failed"
  }
  DESTDIR=$PWD/$folder/root cmake --install "$folder/build" >>"$folder/log"
}

# The files below the folder $1 are those in the lines of $2.
expectFiles() {
  diff -u <(LC_ALL=C sort <<<"$2") \
    <(cd "$1" && find . ! -type d | sed 's|^\./||' | LC_ALL=C sort) ||
    fail "other files in $1 than those"
}

# What package systems refuse: run paths, and folders of the build in stripped
# files.
checkBinaries() {
  local file root=build/packaging/$1/root strip=${2-}strip
  for file in "$root/usr/bin/qorhex" "$root/usr/lib/libqorutil.so.$version"; do
    if readelf --dynamic "$file" | grep -E 'RPATH|RUNPATH'; then
      fail "$file has a run path"
    fi
    "$strip" "$file"
    if grep -qF "$PWD" "$file"; then
      fail "$file names the folder that it was built in"
    fi
  done
}

sums() {
  "$1sum" LICENSE | cut -d ' ' -f 1
}

checkOpenembedded() {
  local recipe=packaging/openembedded/qorutil_$version.bb options root
  root=$PWD/build/packaging/openembedded/root
  [[ -f $recipe ]] || fail "no recipe $recipe"
  grep -q "md5=$(sums md5)\"" "$recipe" || fail "$recipe: LICENSE has another sum"
  mapfile -t options < <("$checks/recipe.py" "$recipe" options)
  buildAndInstall openembedded "${options[@]}" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/arm-linux-gnueabihf.cmake" \
    -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG \
    -DCMAKE_SHARED_LINKER_FLAGS='-Wl,-O1 -Wl,--as-needed' \
    -DCMAKE_CXX_FLAGS="-O2 -pipe -g -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64 \
      -ffile-prefix-map=$PWD=/usr/src"
  "$checks/recipe.py" "$recipe" packages "$root" | LC_ALL=C sort \
    >build/packaging/openembedded/packages
  diff -u - <(grep -v '^qorutil-\(dev\|doc\) ' build/packaging/openembedded/packages |
    grep -v '^qorutil-tools /usr/share/') <<END || fail "$recipe: packages"
qorutil /usr/lib/libqorutil.so.${version%%.*}
qorutil /usr/lib/libqorutil.so.$version
qorutil-tools /usr/bin/qorhex
END
  checkBinaries openembedded arm-linux-gnueabihf-
}

# A client that is compiled against the staging folder, and a .pc file that tells
# of it.
checkStaging() {
  local root=$PWD/build/packaging/buildroot/root
  # shellcheck disable=SC2046  # lists of flags
  aarch64-linux-gnu-g++ -std=c++17 tests/consumer/client/*.cpp \
    $(PKG_CONFIG_LIBDIR=$root/usr/lib/pkgconfig PKG_CONFIG_SYSROOT_DIR=$root \
      pkg-config --cflags --libs qorutil) -o build/packaging/buildroot/client
}

checkBuildroot() {
  local folder=packaging/buildroot/qorutil line name options sum
  line=$(make -s -f "$checks/buildroot.mk" RECIPE=$folder/qorutil.mk fields |
    paste -sd ' ')
  [[ $line == "$version MIT LICENSE YES" ]] || fail "$folder: $line"
  while read -r _ sum name; do
    [[ $name != LICENSE || $sum == "$(sums sha256)" ]] ||
      fail "$folder: LICENSE has another sum"
  done < <(grep '^sha256' $folder/qorutil.hash)
  grep -q "^sha256  [0-9a-f]\{64\}  qorutil-$version.tar.gz$" $folder/qorutil.hash ||
    fail "$folder: no sum of qorutil-$version.tar.gz"
  # Blocks are closed, and help texts are indented as Kconfig reads them.
  awk '/^if /{++open} /^endif/{--open} /^\thelp/{help=1; next}
       help && NF && !/^\t  /{help=0}
       !help && NF && !/^(config|if|endif|comment|\t(bool|depends|\t))/{print; bad=1}
       END {exit bad || open}' $folder/Config.in || fail "$folder/Config.in: see above"
  mapfile -t options < <(make -s -f "$checks/buildroot.mk" \
    RECIPE=$folder/qorutil.mk BR2_PACKAGE_QORUTIL_TOOLS=y options)
  buildAndInstall buildroot "${options[@]}" -DBUILD_SHARED_LIBS=ON \
    -DBUILD_TESTING=OFF -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/aarch64-linux-gnu.cmake"
  checkStaging
  checkBinaries buildroot aarch64-linux-gnu-
  # Without the tools nothing of them is installed.
  mapfile -t options < <(make -s -f "$checks/buildroot.mk" \
    RECIPE=$folder/qorutil.mk options)
  [[ " ${options[*]} " == *" -DQORUTIL_BUILD_TOOLS=OFF "* ]] ||
    fail "$folder: the tools cannot be left out"
}

checkOpenwrt() {
  local folder=packaging/openwrt/qorutil make options package
  make=(make -s -f "$folder/Makefile" "TOPDIR=$checks/openwrt"
    "PKG_INSTALL_DIR=$PWD/build/packaging/openwrt/root"
    "DEST=$PWD/build/packaging/openwrt/packages")
  grep -qx "PKG_VERSION:=$version" $folder/Makefile || fail "$folder: the version"
  grep -qx "  ABI_VERSION:=${version%%.*}" $folder/Makefile || fail "$folder: the ABI"
  sh -n $folder/test.sh
  mapfile -t options < <("${make[@]}" options)
  buildAndInstall openwrt "${options[@]}" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS_RELEASE="-Os -DNDEBUG"
  rm -rf build/packaging/openwrt/packages
  for package in libqorutil qorhex; do
    "${make[@]}" "$package"
  done
  expectFiles build/packaging/openwrt/packages "\
libqorutil/usr/lib/libqorutil.so.${version%%.*}
libqorutil/usr/lib/libqorutil.so.$version
qorhex/usr/bin/qorhex"
  checkBinaries openwrt
  (
    export LD_LIBRARY_PATH=$PWD/build/packaging/openwrt/packages/libqorutil/usr/lib
    PATH=$PWD/build/packaging/openwrt/packages/qorhex/usr/bin:$PATH
    $folder/test.sh qorhex "$version"
  )
}

checkVcpkg() {
  python3 -m json.tool packaging/vcpkg/versions/q-/qorutil.json >/dev/null
  grep -q "\"version\": \"$version\"" packaging/vcpkg/ports/qorutil/vcpkg.json ||
    fail "packaging/vcpkg: the version"
  cmake -DPORT="$PWD/packaging/vcpkg/ports/qorutil" -DSOURCES="$PWD" \
    -DWORK="$PWD/build/packaging/vcpkg" -DFEATURES=tools \
    -P "$checks/vcpkg.cmake"
}

checkConan() {
  local folder=packaging/conan
  grep -q "\"$version\":" $folder/config.yml || fail "$folder/config.yml: the version"
  grep -q "\"$version\":" $folder/all/conandata.yml ||
    fail "$folder/all/conandata.yml: the version"
  prepareBuild packaging/conan
  "$checks/conan.py" $folder/all/conanfile.py . build/packaging/conan
  if command -v conan >/dev/null; then
    runConan "$PWD/build/packaging/conan/index"
  fi
}

# With the archive of the last commit in the place of the one to come.
runConan() {
  local archive=$1/qorutil-$version.tar.gz
  rm -rf "$1"
  cp -r packaging/conan "$1"
  makeSourceArchive "$archive" "qorutil-$version"
  sed -i -e "s|https://.*/|file://$1/|" \
    -e "s|\"0\{64\}\"|\"$(sha256sum "$archive" | cut -d ' ' -f 1)\"|" \
    "$1/all/conandata.yml"
  export CONAN_HOME=$1/home
  conan profile detect >/dev/null
  conan create "$1/all" --version "$version" -s compiler.cppstd=17
}

systems=(openembedded buildroot openwrt vcpkg conan)
for system in "$@"; do
  [[ " ${systems[*]} " == *" $system "* ]] ||
    fail "no system \"$system\"; there are: ${systems[*]}"
done
version=$(projectVersion)
scripts/packages.sh g++ cmake ninja-build make pkgconf python3 \
  g++-arm-linux-gnueabihf g++-aarch64-linux-gnu
for system in "${@:-${systems[@]}}"; do
  say "Checking: $system"
  "check${system^}"
done
say "The recipes build and name the version $version."
