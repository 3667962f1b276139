# shellcheck shell=bash
# Debian packages, installed when they are missing.

need() {
  local missing=()
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "dev: installing ${missing[*]}"
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  quietly "${as_root[@]}" apt-get update -qq
  quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

need_build() { need g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libfmt-dev zlib1g-dev libgtest-dev; }
need_tests() {
  need_build
  need python3 python3-jsonschema
}
need_packaging() {
  need_tests
  need dpkg-dev file fakeroot lintian pkg-config
}
need_windows() {
  need_build
  need g++-mingw-w64-x86-64-posix libz-mingw-w64-dev
}
