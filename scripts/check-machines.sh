#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
#
# Builds library, tool and tests for each of the other machines, one after the
# other, and runs the whole suite there: 32-bit x86 on this one, the others under
# qemu-user. A machine that fails does not keep the rest from running; the
# summary at the end tells of each, and the exit status is 1 if any has failed.
#
#     scripts/check-machines.sh              all
#     scripts/check-machines.sh PRESET...    these
#     scripts/check-machines.sh --list       their names

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

machines=(s390x powerpc riscv64 armhf armhf-time64 arm64 m32)

if [[ $* == --list ]]; then
  printf '%s\n' "${machines[@]}"
  exit
fi
for machine in "$@"; do
  [[ " ${machines[*]} " == *" $machine "* ]] ||
    fail "no machine \"$machine\"; there are: ${machines[*]}"
done
if [[ $# != 0 ]]; then
  machines=("$@")
fi

summary=()
result=0
for machine in "${machines[@]}"; do
  begin=$SECONDS
  if scripts/test.sh "$machine"; then
    outcome=ok
  else
    outcome=FAILED
    result=1
  fi
  summary+=("$(printf '%-6s  %5d s  %s' \
    $outcome $((SECONDS - begin)) "$machine")")
done
say "Summary"
printf '%s\n' "${summary[@]}"
exit "$result"
