# shellcheck shell=bash
# Formatting, the order of includes and clang-tidy.

# lint [--since COMMIT]: clang-tidy leaves out what is as it was in the commit.
lint() {
  need_tests
  need clang-format clang-tidy
  quietly cmake --preset release
  tools/lint/include_order
  git ls-files -z -- '*.cpp' '*.h' '*.c' | xargs -0 clang-format --dry-run --Werror
  git ls-files -z -- 'src/*.cpp' 'tools/*.cpp' ':!*_windows.cpp' | xargs -0 tools/lint/tidy "$@" build/release
  echo 'lint: clean'
}

# What has been published has been through all of it.
lint_changes() {
  local published
  published=$(git merge-base HEAD '@{upstream}' 2>/dev/null || git merge-base HEAD origin/HEAD 2>/dev/null) || published=
  lint ${published:+--since "$published"}
}
