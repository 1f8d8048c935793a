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
source scripts/system.sh

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

makeSystem
git clone --quiet --no-hardlinks . "$system/root/pristine"
cp -r "$system/root/pristine" "$system/root/qorutil"
runBoth
say "Both work on a fresh $release."
