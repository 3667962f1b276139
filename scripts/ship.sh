# shellcheck shell=bash
# Packages, and who uses them.

test_shipping() {
  for way in installed package sources; do
    echo "consumer: $way"
    tests/consumer/check_consumer.sh "$way" build/release samples
  done
}

# The same release build, with the folders of each kind of package.
make_packages() {
  local out=$PWD/build/packages
  build release
  quietly cpack -G TGZ --config build/release/CPackConfig.cmake -B "$out"
  quietly cmake --preset release -DCMAKE_INSTALL_PREFIX=/usr
  quietly cpack -G DEB --config build/release/CPackConfig.cmake -B "$out"
  quietly cmake --preset release -UCMAKE_INSTALL_PREFIX
  lintian --fail-on error,warning "$out"/*.deb
  build windows
  quietly cpack --config build/windows/CPackConfig.cmake -B "$out"
  rm -rf "$out/_CPack_Packages"
  ls -l "$out"
}

test_windows() {
  need_windows
  need wine64
  build release
  build windows
  tests/windows/check_windows.sh build/release build/windows samples
  tests/windows/check_tool_tests.sh build/release build/windows
}

# The reference of the public headers. An entity without a comment is an error.
make_docs() {
  quietly cmake --preset release
  mkdir -p build/docs
  VOK_VERSION=$(sed -n 's/^#define VOK_VERSION "\(.*\)"/\1/p' build/release/include/vok/version.h) \
    quietly doxygen docs/Doxyfile
  echo 'docs: build/docs/html/index.html'
}
