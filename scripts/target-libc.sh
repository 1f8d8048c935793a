#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Unpacks the C and C++ libraries of another architecture of Debian into a
# folder, where qemu-user finds them with -L. The C libraries that come with the
# cross compilers lack what is in files of its own: the character sets and the
# locale C.UTF-8. Nothing is installed, and no rights are needed. A folder that
# is there stays as it is; the exit status is 2 if Debian does not have the
# architecture.
#
#     scripts/target-libc.sh ARCHITECTURE FOLDER

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source scripts/system.sh

# apt-get for that architecture, with lists and settings of its own.
apt() {
  apt-get --quiet --quiet -o APT::Architecture="$architecture" \
    -o APT::Architectures="$architecture" -o APT::Sandbox::User= \
    -o Acquire::Languages=none -o Dir::State="$work" \
    -o Dir::State::status="$work/status" -o Dir::Cache="$work" \
    -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- "$@"
}

[[ $# == 2 ]] || fail "usage: $0 ARCHITECTURE FOLDER"
architecture=$1
folder=$(realpath --canonicalize-missing "$2")
if [[ -d $folder ]]; then
  exit 0
fi

release=$(. /etc/os-release && echo "${VERSION_CODENAME-}")
mirror=$(archiveMirror)
if [[ -z $mirror ]]; then
  fail "no archive of Debian $release in the package lists; run: apt-get update"
fi
# What is compiled for an older C library runs with a newer one.
case $release:$architecture in
  bookworm:riscv64) release=trixie ;;
esac

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
say "Fetching the libraries of $architecture from $mirror $release"
keys=/usr/share/keyrings/debian-archive-keyring.gpg
echo "deb [signed-by=$keys] $mirror $release main" >"$work/sources.list"
touch "$work/status"
mkdir -p "$work/lists/partial" "$work/archives/partial"
apt update -o APT::Update::Error-Mode=any
if ! compgen -G "$work/lists/*_binary-${architecture}_Packages*" >/dev/null; then
  echo "Debian $release is not made for $architecture"
  exit 2
fi
(cd "$work" && apt download libc6 libc-bin libgcc-s1 libstdc++6)
for package in "$work"/*.deb; do
  dpkg-deb --extract "$package" "$work/tree"
done
# The rest of the packages would hide what this machine has. All is in one folder:
# a loader of 32 bits asks whether a folder is there where it has not found a
# library, and the emulator answers for the one of this machine.
mkdir -p "$folder/usr" "$folder/etc"
mv "$work/tree/usr/lib" "$folder/usr/"
if [[ -d $work/tree/lib ]]; then
  cp -a "$work/tree/lib/." "$folder/usr/lib/"
fi
ln -s usr/lib "$folder/lib"
# This machine's list of libraries is not for them.
touch "$folder/etc/ld.so.cache"
