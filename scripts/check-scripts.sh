#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Runs shellcheck over every script.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

noArguments "$@"
scripts/packages.sh git shellcheck
mapfile -t files < <(projectFiles '*.sh' '*.bash' .ci/run \
  debian/tests/client debian/tests/qorhex)
if [[ ${#files[@]} == 0 ]]; then
  fail "no files found"
fi
shellcheck --external-sources "${files[@]}"
echo "${#files[@]} scripts are clean."
