#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Installs the Debian packages named as arguments, those that are missing:
# scripts/packages.sh g++ cmake. Without a missing one it does nothing and needs
# no rights; else it needs root, or sudo. A CMake that is too old for the presets
# is told of before anything is installed.

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
    fail "neither root nor sudo; $asRootRun"
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

# The version of CMake that is there, or else that would be; nothing if no
# package lists tell.
cmakeVersion() {
  if command -v cmake >/dev/null; then
    cmake --version | sed -n 's/^cmake version //p'
  else
    LC_ALL=C apt-cache policy cmake | sed -n 's/^ *Candidate: \([0-9].*\)/\1/p'
  fi
}

checkCmake() {
  local needed=3.25 version
  version=$(cmakeVersion)
  if [[ -n $version ]] &&
    [[ $(printf '%s\n' "$needed" "$version" | sort -V | head -n 1) != "$needed" ]]
  then
    fail "needs CMake $needed, and here is $version; Debian 12 or newer has it"
  fi
}

if ! command -v dpkg-query >/dev/null; then
  fail "needs Debian 12 or newer, which knows what is missing here as: $*"
fi
if [[ " $* " == *" cmake "* ]]; then
  checkCmake
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
asRootRun="as root, run: apt-get install ${missing[*]}"
if [[ $(id -u) != 0 ]] && command -v sudo >/dev/null && ! sudo true; then
  fail "sudo refuses; $asRootRun"
fi
if areListed && install; then
  exit 0
fi
# Old or no lists: the error of one archive is none of another's packages.
aptGet update || true
install || fail "cannot install ${missing[*]}; is there a network?"
