# shellcheck shell=bash
# SPDX-License-Identifier: MIT
#
# A minimal Debian in a folder, for the scripts that try something on one.
# Sourced after common.sh; `system` is the folder and `release` the name of the
# Debian release.

: "${system:=}" "${release:=}"

# The archive's parts of `release` that this machine's package lists name, as
# lines of a sources.list.
archiveParts() {
  # shellcheck disable=SC2016  # apt-get expands these
  apt-get indextargets \
    --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' |
    awk -v release="$release" '$3 ~ "^" release "(-|$)"' | sort -u
}

# Prints where that archive is.
archiveMirror() {
  archiveParts | awk -v release="$release" '$3 == release {print $2}' | head -n 1
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

# Makes the system, with the archive that this machine uses.
makeSystem() {
  local mirror
  mirror=$(archiveMirror)
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
}
