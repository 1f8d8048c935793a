#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Installs the Debian packages named as arguments, those that are missing:
# scripts/packages.sh g++ cmake. Without a missing one it does nothing and needs
# no rights; else it needs root, or sudo.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

isInstalled() {
  dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null |
    grep -qx installed
}

asRoot() {
  if [[ $(id -u) == 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "neither root nor sudo; as root, run: apt-get install ${missing[*]}"
  fi
}

aptGet() {
  asRoot env DEBIAN_FRONTEND=noninteractive apt-get --yes --quiet "$@"
}

# Nothing is removed for it: packages that conflict are an error.
install() {
  aptGet install --no-remove --no-install-recommends "${missing[@]}"
}

# Whether the package lists name every missing package. They can also be out of
# date, which only the download shows.
areListed() {
  local package
  for package in "${missing[@]}"; do
    apt-cache show "$package" >/dev/null 2>&1 || return
  done
}

if ! command -v dpkg-query >/dev/null; then
  fail "no Debian system; what is needed is known there as: $*"
fi

missing=()
for package in "$@"; do
  if ! isInstalled "$package"; then
    missing+=("$package")
  fi
done
if [[ ${#missing[@]} == 0 ]]; then
  exit 0
fi

say "Installing ${missing[*]}"
if areListed && install; then
  exit 0
fi
aptGet update
install
