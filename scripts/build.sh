# shellcheck shell=bash
# Configuring, building and testing a preset.

# build PRESET [CMAKE_OPTION...]
build() {
  local preset=$1
  shift
  quietly cmake --preset "$preset" "$@"
  cmake --build --preset "$preset" -j "$jobs"
}

run_tests() {
  build "$1" -DVOK_BUILD_TESTS=ON -DVOK_BUILD_TOOLS=ON
  ctest --preset "$1"
}

# The store must do the same by walks alone.
test_walks() {
  build walk
  ctest --preset walk
}

# The page of `vok map --html` in a real browser.
test_page() {
  command -v chromium >/dev/null || need chromium
  command -v npm >/dev/null || need nodejs npm
  tests/browser/run.sh build/release/vok samples
}

test_all() {
  need_tests
  step 'debug build with sanitizers, tests' run_tests debug
  step 'release build, tests' run_tests release
  step 'build without the acceleration, tests' test_walks
  step 'instruction counts' bench --check
  step 'map page in a browser' test_page
  need_packaging
  step 'a consumer of the installed tree, of the Debian package and of the sources' test_shipping
  step 'lint of what is not published yet' lint_changes
}
