# shellcheck shell=sh
# SPDX-License-Identifier: MIT
#
# What the scripts of this folder share. Sourced.
: "${source:?}" "${step:?}"

# shellcheck disable=SC2034  # for the scripts
client=$source/tests/consumer/client

fail() {
  echo "$*" >&2
  exit 1
}

skip() {
  echo "skipped: $*"
  exit 77
}

# Tells what is wrong unless $2 and $3 are the same.
expectSame() {
  test "$2" = "$3" || fail "$1 is '$3' instead of '$2'"
}

# Runs a step and shows what it wrote only if it fails.
quietly() {
  "$@" >"$step.log" 2>&1 || { cat "$step.log"; fail "failed: $*"; }
}
