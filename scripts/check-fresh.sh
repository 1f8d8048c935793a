#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs scripts/demo.sh and scripts/test.sh on a fresh Debian system: a minimal
# one in a folder, made by debootstrap from the archive that this machine uses,
# with a clone of the last commit. As root, which installs the packages; then as
# an ordinary user, who must need nothing more. Needs root. Mounts are private
# to the script, and the folder goes at the end; --keep leaves it.
#
#     scripts/check-fresh.sh [--keep] [release, bookworm]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The archive's parts of `release` that this machine's package lists name, as
# lines of a sources.list.
archiveParts() {
  # shellcheck disable=SC2016  # apt-get expands these
  apt-get indextargets \
    --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' |
    awk -v release="$release" '$3 ~ "^" release "(-|$)"' | sort -u
}

# What the fresh system takes from this one, to reach the archive as it does.
copyNetworkSettings() {
  archiveParts >"$system/etc/apt/sources.list"
  apt-config dump Acquire >"$system/etc/apt/apt.conf.d/90host"
  rm -rf "$system"/var/lib/apt/lists/*  # those of debootstrap
  cp -L /etc/resolv.conf /etc/hosts "$system/etc/"
}

inside() {
  chroot "$system" /usr/bin/env -i HOME=/root LANG=C.UTF-8 TERM=dumb \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    ${http_proxy:+http_proxy="$http_proxy"} \
    ${https_proxy:+https_proxy="$https_proxy"} "$@"
}

runBoth() {
  mount -t proc proc "$system/proc"
  mount -t devpts devpts "$system/dev/pts"
  mount -t tmpfs tmpfs "$system/dev/shm"

  say "As root"
  inside /root/qorutil/scripts/demo.sh
  inside /root/qorutil/scripts/test.sh

  say "As an ordinary user"
  inside useradd --create-home builder
  inside cp -r /root/pristine /home/builder/qorutil
  inside chown -R builder: /home/builder/qorutil
  inside setpriv --reuid builder --regid builder --init-groups \
    env HOME=/home/builder /home/builder/qorutil/scripts/demo.sh
  inside setpriv --reuid builder --regid builder --init-groups \
    env HOME=/home/builder /home/builder/qorutil/scripts/test.sh
}

keep=
if [[ ${1-} == --keep ]]; then
  keep=yes
  shift
fi
release=${1-bookworm}
[[ $# -le 1 && $release != -* ]] ||
  fail "usage: $0 [--keep] [release]"

if [[ $(id -u) != 0 ]]; then
  fail "needs root"
fi
# A mount namespace of its own, which takes the mounts away at the end.
if [[ -z ${QORUTIL_FRESH-} ]]; then
  scripts/packages.sh debootstrap git
  QORUTIL_FRESH=$(mktemp -d /var/tmp/qorutil-fresh.XXXXXX)
  export QORUTIL_FRESH
  if [[ -z $keep ]]; then
    trap 'rm -rf --one-file-system "$QORUTIL_FRESH"' EXIT
  fi
  say "In $QORUTIL_FRESH"
  unshare --mount scripts/check-fresh.sh "$release"
  exit
fi
system=$QORUTIL_FRESH/system

mirror=$(archiveParts | awk -v release="$release" '$3 == release {print $2}' |
  head -n 1)
if [[ -z $mirror ]]; then
  fail "no archive of $release in the package lists; run: apt-get update"
fi
say "Making a fresh $release from $mirror"
eval "$(apt-config shell http_proxy Acquire::http::Proxy \
  https_proxy Acquire::https::Proxy)"
if [[ -n ${http_proxy-} ]]; then
  export http_proxy
fi
if [[ -n ${https_proxy-} ]]; then
  export https_proxy
fi
debootstrap --variant=minbase "$release" "$system" "$mirror" |
  sed '/^I: \(Retrieving\|Validating\|Extracting\|Unpacking\|Configuring\)/d'
copyNetworkSettings
git clone --quiet --no-hardlinks . "$system/root/pristine"
cp -r "$system/root/pristine" "$system/root/qorutil"
runBoth
say "Both work on a fresh $release."
