#!/usr/bin/env bash
# Builds the examples as someone else would and runs them: against an installed tree, against an unpacked Debian package
# or from the sources.
# Usage: check_consumer.sh (installed|package|sources) BUILD_DIR SAMPLES_DIR
set -euo pipefail
way=$1 build=$2 samples=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }; }

configure() { quietly cmake -G Ninja -S "$here" -B "$work/consumer" "$@"; }

# Every library is also found through pkg-config alone.
check_pkg_config() {
  local flags
  export PKG_CONFIG_LIBDIR=$1
  for package in vok vok-shared vok-c; do
    flags=$(pkg-config --cflags --libs "$package")
    echo '#include <vok/vok_c.h>' >"$work/empty.c"
    # shellcheck disable=SC2086
    cc "$work/empty.c" -shared -fPIC -o "$work/empty" $flags
  done
}

# What the shell completes "vok WORD..." to.
completions() {
  COMP_WORDS=(vok "$@") COMP_CWORD=$#
  _vok
  echo "${COMPREPLY[*]}"
}

# The manual page, the completions and one version everywhere.
check_tool() {
  local prefix=$1 version
  zcat "$prefix/share/man/man1/vok.1.gz" | grep '^\.SS .*repair' >/dev/null
  # shellcheck source=/dev/null
  . "$prefix/share/bash-completion/completions/vok"
  [ "$(completions rep)" = repair ]
  [ "$(completions torture --operation rename)" = 'rename rename-plain' ]
  [ "$(completions list --js)" = --json ]
  version=$(pkg-config --modversion vok-c)
  [ "$("$prefix/bin/vok" --version)" = "vok $version" ]
  "$work/consumer/examples/program" "$samples/psdt.bin" "$samples/codeplug.bin" "$work/out" | grep "libvok $version" >/dev/null
  zcat "$prefix/share/man/man1/vok.1.gz" | grep "vok $version" >/dev/null
}

check_tree() {
  local prefix=$1 library
  library=$(find "$prefix" -name libvok_c.so)
  configure "-DCMAKE_PREFIX_PATH=$prefix"
  quietly cmake --build "$work/consumer"
  check_pkg_config "$(find "$prefix" -name pkgconfig)"
  "$here/../examples/check_examples.sh" "$work/consumer/examples" "$prefix/bin/vok" "$library" "$samples"
  check_tool "$prefix"
}

check_installed() {
  quietly cmake --install "$build" --prefix "$work/installed"
  check_tree "$work/installed"
}

check_package() {
  quietly cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package"
  dpkg-deb -x "$work"/package/*.deb "$work/root"
  check_tree "$work/root/usr"
}

check_sources() {
  configure "-DLIBVOK_SOURCES=$here/../.."
  quietly cmake --build "$work/consumer"
  "$here/../examples/check_examples.sh" "$work/consumer/examples" "$build/vok" "$work/consumer/libvok/libvok_c.so" "$samples"
}

"check_$way"
