#!/bin/sh
# SPDX-License-Identifier: MIT
#
# What OpenWrt runs with an installed package: its name, its version.

case "$1" in
  qorhex) qorhex --version 2>&1 | grep -F "$2" ;;
esac
