#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Checks whether the last commit can be released, and makes what is released, in
# build/dist: the archive of the sources, the bill of materials, the sums of all;
# with --packages Debian's packages, with --site the reference. CMakeLists.txt
# decides the version; whatever else names one has to follow. It tags and
# publishes nothing. With --dry-run the faults are told, and all is made
# nevertheless.
#
#     scripts/release.sh [--dry-run] [--packages] [--site]

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

faults=0
fault() {
  printf 'not ready: %s\n' "$*" >&2
  faults=$((faults + 1))
}

# The part of the changelog of this version has a date, and stands first.
checkChangelog() {
  local heading
  heading=$(grep -m 1 '^## ' CHANGELOG.md)
  [[ $heading =~ ^"## $version, "[0-9]{4}-[0-9]{2}-[0-9]{2}$ ]] ||
    fault "CHANGELOG.md begins with \"$heading\", not with \"## $version, DATE\""
}

checkDebian() {
  local first names newest
  first=$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)
  [[ ${first%-*} == "$version" ]] ||
    fault "debian/changelog begins with $first, not with $version-1"
  names=debian/libqorutil0.symbols
  newest=$(sed -n 's/^ .* \([0-9][0-9.]*\)$/\1/p' $names | sort -uV | tail -n 1)
  [[ $(printf '%s\n' "$newest" "$version" | sort -V | tail -n 1) == "$version" ]] ||
    fault "$names has names of version $newest"
  scripts/licences.py --check || fault "debian/copyright is out of date"
}

# Each file that names a version, and how it has to; @ stands for it.
checkRecipes() {
  local file line
  while read -r file line; do
    file=${file//@/$version}
    if [[ ! -f packaging/$file ]]; then
      fault "there is no packaging/$file"
    elif ! grep -qF -e "${line//@/$version}" "packaging/$file"; then
      fault "packaging/$file is not of version $version"
    fi
  done <<END_OF_LIST
openembedded/qorutil_@.bb SUMMARY
buildroot/qorutil/qorutil.mk QORUTIL_VERSION = @
buildroot/qorutil/qorutil.hash qorutil-@.tar.gz
openwrt/qorutil/Makefile PKG_VERSION:=@
conan/config.yml "@":
conan/all/conandata.yml "@":
vcpkg/ports/qorutil/vcpkg.json "version": "@"
vcpkg/versions/q-/qorutil.json "version": "@"
END_OF_LIST
}

# What programs that were built with the last release rely on is still there,
# unless the major version is another.
checkBaseline() {
  local baseline file gone
  # A tag at this very commit is the release itself.
  if ! baseline=$(git describe --tags --abbrev=0 --match 'v[0-9]*' HEAD~ 2>/dev/null)
  then
    echo "There is no earlier release to compare with."
    return
  fi
  if [[ ${baseline%%.*} != "v${version%%.*}" ]]; then
    echo "$baseline has another soname."
    return
  fi
  for file in tests/abi/layout-{64,32,32-packed}.txt \
    tests/consumer/exported_symbols.txt debian/libqorutil0.symbols; do
    gone=$(git show "$baseline:$file" 2>/dev/null | grep -vxFf "$file" || true)
    [[ -z $gone ]] || fault "$file lacks what $baseline had: $gone"
  done
  echo "Compared with $baseline."
}

# The same commit makes the same bytes, and they are the sources alone.
makeArchive() {
  makeSourceArchive "$dist/$name.tar.gz" "$name"
  makeSourceArchive "$dist/again" "$name"
  cmp "$dist/$name.tar.gz" "$dist/again"
  rm "$dist/again"
  diff <(git ls-tree -r --name-only HEAD | sed "/^debian\//d; s|^|$name/|" |
    LC_ALL=C sort) \
    <(tar -tzf "$dist/$name.tar.gz" | grep -v '/$' | LC_ALL=C sort) ||
    fail "the archive holds other files than the commit"
}

makeBill() {
  local seconds
  seconds=$(git log -1 --format=%ct)
  scripts/sbom.py "$dist/$name.tar.gz" "$version" "$seconds" \
    >"$dist/$name.spdx.json"
  scripts/sbom.py --check "$dist/$name.spdx.json" "$dist/$name.tar.gz"
}

makeSite() {
  scripts/check-docs.sh
  tar -C build/docs/docs --sort=name --owner=0 --group=0 --numeric-owner \
    --mtime="@$(git log -1 --format=%ct)" --transform="s|^html|$name-docs|" \
    -cf - html | gzip -9 --no-name >"$dist/$name-docs.tar.gz"
}

makePackages() {
  scripts/check-debian.sh --no-system
  cp build/debian/first/*.{deb,dsc,changes,buildinfo} "$dist"
}

dry=
parts=()
for argument in "$@"; do
  case $argument in
    --dry-run) dry=yes ;;
    --packages) parts+=(makePackages) ;;
    --site) parts+=(makeSite) ;;
    *) fail "usage: $0 [--dry-run] [--packages] [--site]" ;;
  esac
done

scripts/packages.sh git python3 diffutils
version=$(projectVersion)
name=qorutil-$version
dist=build/dist
say "Checking $version"
[[ -z $(git status --porcelain) ]] || fault "there are changes that are in no commit"
checkChangelog
checkDebian
checkRecipes
checkBaseline
if [[ -z $dry ]]; then
  [[ $faults == 0 ]] || fail "$faults faults; --dry-run makes all nevertheless"
  scripts/check-abi.sh
  scripts/check-symbols.sh
fi

say "Making the archive and the bill of materials"
rm -rf "${dist:?}"
prepareBuild dist
makeArchive
makeBill
for part in "${parts[@]}"; do
  "$part"
done
(cd "$dist" && rm -f SHA256SUMS && sha256sum -- * >../SHA256SUMS &&
  mv ../SHA256SUMS .)
say "In $dist"
cat "$dist/SHA256SUMS"
if [[ $faults != 0 ]]; then
  echo "$faults faults above keep it from being a release."
fi
