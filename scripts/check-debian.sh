#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Makes the Debian packages of the last commit, in build/debian, and checks them:
# lintian finds no error and no warning, two builds in folders of other names
# are the same bytes, and in a minimal system, made by debootstrap, the packages
# install and the tests of debian/tests pass. With --tests the tests of the
# library run in the build, as Debian runs them. Installing needs root;
# --no-system leaves it out. --keep leaves the minimal system where it is.
#
#     scripts/check-debian.sh [--tests] [--no-system | --keep]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source scripts/system.sh

# Unpacks the sources into a fresh folder and builds there; further arguments
# are settings of the environment.
build() {
  local folder=$1
  shift
  prepareBuild "$folder"
  rm -rf "build/${folder:?}"
  mkdir -p "build/$folder"
  makeSourceArchive "build/$folder/qorutil_$version.orig.tar.gz" "qorutil-$version"
  tar -C "build/$folder" -xf "build/$folder/qorutil_$version.orig.tar.gz"
  git archive HEAD debian | tar -C "build/$folder/qorutil-$version" -xf -
  if ! (cd "build/$folder/qorutil-$version" && env "$@" \
    dpkg-buildpackage --no-sign >../log 2>&1); then
    tail -n 60 "build/$folder/log" >&2
    fail "the build failed; see build/$folder/log"
  fi
}

# The packages, those with debug information included.
checkSame() {
  local package count=0
  for package in "build/$first"/*.deb; do
    cmp "$package" "build/$second/$(basename "$package")"
    count=$((count + 1))
  done
  [[ $count == 6 ]] || fail "$count packages instead of 6"
  echo "$count packages are the same, byte by byte."
}

checkLintian() {
  lintian --allow-root --fail-on error,warning --tag-display-limit 0 \
    --display-info "build/$first/qorutil_$version-$revision"_*.changes ||
    fail "lintian finds the above"
}

# What the packages hold is hardened.
checkContents() {
  local folder=build/$first/unpacked package
  mkdir "$folder"
  for package in "build/$first"/*.deb; do
    dpkg-deb --extract "$package" "$folder"
  done
  scripts/check-hardening.sh "$folder/usr/bin/qorhex" \
    "$folder"/usr/lib/*/libqorutil.so.*.*
}

inSystem() {
  system=$QORUTIL_FRESH/system
  makeSystem
  mkdir "$system/root/packages"
  cp "build/$first"/*.deb "$system/root/packages"
  rm "$system"/root/packages/*-dbgsym_*
  cp -r "build/$first/qorutil-$version" "$system/root"
  mount -t proc proc "$system/proc"
  mount -t devpts devpts "$system/dev/pts"
  inside apt-get --quiet=2 update
  # shellcheck disable=SC2016  # the shell there expands it
  inside env DEBIAN_FRONTEND=noninteractive sh -c 'apt-get --yes --quiet=2 \
    install --no-install-recommends /root/packages/*.deb >/root/log 2>&1 ||
    { cat /root/log; exit 1; }'
  say "The program alone"
  inside qorhex --version
  say "The tests of the packages"
  # shellcheck disable=SC2016
  inside env DEBIAN_FRONTEND=noninteractive sh -c 'apt-get --yes --quiet=2 \
    install --no-install-recommends cmake g++ make pkgconf >/root/log 2>&1 ||
    { cat /root/log; exit 1; }'
  sed -n 's/^Tests: //p' debian/tests/control | while read -r name; do
    echo "debian/tests/$name"
    inside sh -c "cd /root/qorutil-$version && debian/tests/$name" </dev/null
  done
  say "What removing leaves"
  inside sh -c 'apt-get --yes --quiet=2 purge libqorutil0 qorutil-doc >/root/log &&
    ! find / -xdev -not -path "/root/*" -not -path "/tmp/*" \
      \( -name "*qorutil*" -o -name "*qorhex*" \) | grep .' ||
    fail "the files above stay"
}

tests=nocheck
withSystem=yes
keep=
while [[ $# -gt 0 ]]; do
  case $1 in
    --tests) tests= ;;
    --no-system) withSystem= ;;
    --keep) keep=yes ;;
    *) fail "usage: $0 [--tests] [--no-system | --keep]" ;;
  esac
  shift
done
[[ -z $keep || -n $withSystem ]] ||
  fail "usage: $0 [--tests] [--no-system | --keep]"

full=$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)
version=${full%-*}
revision=${full##*-}
first=debian/first
second=debian/another/folder
release=$(. /etc/os-release && echo "$VERSION_CODENAME")

if [[ -n ${QORUTIL_FRESH-} ]]; then
  inSystem
  exit
fi
if [[ -n $withSystem && $(id -u) != 0 ]]; then
  fail "installing needs root; --no-system does the rest"
fi
scripts/packages.sh git lintian debhelper dpkg-dev cmake ninja-build g++ doxygen \
  libgtest-dev libgmock-dev pkgconf python3 ${withSystem:+debootstrap}

say "Building ${tests:+without tests }in build/$first"
build $first DEB_BUILD_OPTIONS=$tests
if [[ -z $tests ]]; then
  grep -A 2 '% tests passed' "build/$first/log" || fail "no tests ran"
fi
checkContents
say "Linting"
scripts/licences.py --check
checkLintian
# Without a compiler cache, which would give what the first build made.
say "Building again, in build/$second"
build $second DEB_BUILD_OPTIONS="nocheck parallel=1" TZ=Asia/Kolkata \
  LC_ALL=C.UTF-8 CMAKE_CXX_COMPILER_LAUNCHER=
checkSame
if [[ -n $withSystem ]]; then
  QORUTIL_FRESH=$(mktemp -d /var/tmp/qorutil-fresh.XXXXXX)
  export QORUTIL_FRESH
  if [[ -z $keep ]]; then
    trap 'rm -rf --one-file-system "$QORUTIL_FRESH"' EXIT
  fi
  say "In $QORUTIL_FRESH"
  unshare --mount scripts/check-debian.sh
fi
say "The packages are sound."
