# shellcheck shell=bash
# Formatting, the order of includes and clang-tidy.

lint() {
  need_tests
  need clang-format clang-tidy
  quietly cmake --preset release
  tools/lint/include_order
  git ls-files -z -- '*.cpp' '*.h' '*.c' | xargs -0 clang-format --dry-run --Werror
  git ls-files -z -- 'src/*.cpp' 'tools/*.cpp' ':!*_windows.cpp' | xargs -0 tools/lint/tidy build/release
  echo 'lint: clean'
}
