#!/usr/bin/env bash
# Compares the symbols that a library exports with the list of the same name beside this script.
# Usage: check_exports.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C

exported() {
  case $1 in
    *.dll) x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^\t\[ *[0-9]*\] \([^ ]*\)$/\1/p' ;;
    *) nm -D --defined-only "$1" | awk '$2 != "A" {print $3}' ;;
  esac | sort -u
}

diff -u --label "${2##*/}" --label "exported by ${1##*/}" "$2" <(exported "$1")
