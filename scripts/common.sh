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

# Makes the folder build/NAME, or tells why it cannot be used.
prepareBuild() {
  if ! mkdir -p "build/$1" 2>/dev/null || [[ ! -w build/$1 ]]; then
    fail "$PWD/build/$1 is not writable for $(id -un); use a copy of your own"
  fi
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

# A compiler cache helps where there is one; nothing needs it.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi
