#!/usr/bin/env bash
# Runs the examples with the DLLs, and the tool, under wine and compares what they make with what the same programs make
# on Linux.
# Usage: check_windows.sh LINUX_BUILD WINDOWS_BUILD SAMPLES_DIR   (needs mingw-w64 and wine)
set -euo pipefail
linux=$(realpath "$1") windows=$(realpath "$2") samples=$(realpath "$3")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
exports=$here/../exports
export LC_ALL=C.UTF-8 WINEPREFIX=$windows/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
wine=$(command -v wine64 || command -v /usr/lib/wine/wine64)
work=$(mktemp -d)
trap 'rm -rf "$work"; "$(dirname "$(readlink -f "$wine")")"/wineserver -k || true' EXIT

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }; }

# Nothing of ours but the interfaces leaves the DLLs, and nothing but the system's own libraries is asked for.
check_dll() {
  "$exports/check_exports.sh" "$1" "$exports/${1##*/}.txt"
  check_imports "$1"
}

check_imports() {
  local foreign
  foreign=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/.*DLL Name: //p' |
    grep -viE '^(kernel32|msvcrt|shell32|vok|vok_c)\.dll$' || true)
  [ -z "$foreign" ] || { echo "${1##*/} needs $foreign" >&2; return 1; }
}

# A host's build, from what the zip holds.
build_examples() {
  quietly cmake --install "$windows" --prefix "$work/installed"
  quietly cmake -G Ninja -S "$here/../consumer" -B "$work/consumer" "-DCMAKE_PREFIX_PATH=$work/installed" \
    "-DCMAKE_TOOLCHAIN_FILE=$here/../../cmake/mingw-w64.cmake" -DCMAKE_EXE_LINKER_FLAGS=-static
  quietly cmake --build "$work/consumer"
  cp "$work"/consumer/examples/*.exe "$work"/installed/bin/*.dll "$work"
}

# Runs an example on both systems: the same words, the same bytes.
compare() {
  local name=$1
  shift
  for system in linux windows; do mkdir -p "$work/$name/$system" && cp "$samples"/*.bin "$work/$name/$system"; done
  (cd "$work/$name/linux" && "$linux/examples/$name" "$@" >words)
  (cd "$work/$name/windows" && "$wine" "$work/$name.exe" "$@" | tr -d '\r' >words)
  diff -r "$work/$name/linux" "$work/$name/windows"
}

# What a person does with the tool, in folders whose names are not ASCII: the same answers, the same files.
use_tool() {
  local image=(--psdt Grüße/psdt.bin --codeplug Grüße/codeplug.bin)
  "$@" --version
  "$@" sample Grüße
  "$@" "${image[@]}" unpack Äpfel
  printf 'new item' | "$@" "${image[@]}" write 10 new -
  "$@" "${image[@]}" delete 10 0
  "$@" "${image[@]}" reorganise
  "$@" "${image[@]}" read 10 1
  "$@" "${image[@]}" list --json
  "$@" "${image[@]}" unpack --force Äpfel
  "$@" pack Äpfel -o 'ein Päckchen.bin'
  "$@" "${image[@]}" map --html Karte.html
  "$@" --psdt Grüße/psdt.bin check --jobs 2 Grüße/codeplug.bin 'ein Päckchen.bin' 2>&1 | sort  # in the order of their ends
  "$@" "${image[@]}" list NONE 2>&1 || echo "status $?"
}

compare_tool() {
  mkdir -p "$work/tool/linux" "$work/tool/windows"
  (cd "$work/tool/linux" && use_tool "$linux/vok" >words)
  (cd "$work/tool/windows" && use_tool "$wine" "$windows/vok.exe" >words)
  diff -r "$work/tool/linux" "$work/tool/windows"
}

check_imports "$windows/vok.exe"
check_dll "$windows/vok.dll"
check_dll "$windows/vok_c.dll"
build_examples
quietly "$wine" wineboot --init
compare host psdt.bin codeplug.bin result.bin
compare program psdt.bin codeplug.bin result.bin
compare embedding flash.bin text
grep -q 'as expected: VOK Error #121: Large Chunk' "$work/host/windows/words"
compare_tool
