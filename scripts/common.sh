# shellcheck shell=bash
# SPDX-License-Identifier: MIT
#
# What the scripts share. Sourced; leaves the caller in the top folder.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() {
  printf '\n== %s\n' "$*"
}

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Prints the comment at the head of the script.
showHelp() {
  sed -n '/^# SPDX/,/^$/{/^# SPDX/d;s/^# \{0,1\}//p}' "$0" | sed 1d
}

# Every script has --help. The arguments are those of the script.
if [[ ${1-} == --help || ${1-} == -h ]]; then
  showHelp
  exit
fi

# For a script that takes none: noArguments "$@"
noArguments() {
  [[ $# == 0 ]] || fail "takes no arguments, not \"$*\"; see --help"
}

# Makes the folder build/NAME, or tells why it cannot be used.
prepareBuild() {
  if ! mkdir -p "build/$1" 2>/dev/null || [[ ! -w build/$1 ]]; then
    fail "$PWD/build/$1 is not writable for $(id -un); use a copy of your own"
  fi
}

# Configures build/PRESET for what needs no tests; those that it has stay.
# Further arguments go to cmake.
configureWithoutTests() {
  local preset=$1 tests=OFF
  shift
  prepareBuild "$preset"
  if grep -qs '^QORUTIL_BUILD_TESTS:BOOL=ON' "build/$preset/CMakeCache.txt"; then
    tests=ON
  fi
  cmake --preset "$preset" -DQORUTIL_BUILD_TESTS=$tests "$@"
}

# The files of the project that match the patterns, apart from those deleted.
# A tree of another user is one to be trusted here.
projectFiles() {
  git -c safe.directory="$PWD" ls-files --cached --others --exclude-standard \
    --deduplicate -- "$@" | while IFS= read -r file; do
    if [[ -f $file ]]; then
      printf '%s\n' "$file"
    fi
  done
}

# The version, which one place decides.
projectVersion() {
  sed -n 's/^  VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt
}

# Makes the archive of the sources of the last commit, the file $1, in which all
# is below the folder $2. The same commit makes the same bytes. Debian wants no
# folder debian in it: that is its own part of a source package.
makeSourceArchive() {
  git -c safe.directory="$PWD" -c tar.umask=0022 archive --format=tar \
    --prefix="$2/" HEAD . ':(exclude)debian' | gzip -9 --no-name >"$1"
}

# A compiler cache helps where there is one; nothing needs it.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi
