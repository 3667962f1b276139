# shellcheck shell=bash
# What tells how good the tests are.

# coverage: what the tests reach of src/, and why not the rest.
coverage() {
  need_tests
  need gcovr
  local folder=build/coverage
  quietly cmake --preset debug -B "$folder" -DVOK_SANITIZE= -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_CXX_FLAGS_DEBUG='-O0 -g' \
    -DVOK_BUILD_TOOLS=OFF -DVOK_BUILD_TESTS=ON
  cmake --build "$folder" -j "$jobs" --target vok_tests vok_c_tests vok_sweep_run
  find "$folder" -name '*.gcda' -delete
  "$folder/tests/vok_tests" --gtest_brief=1
  "$folder/tests/vok_c_tests" --gtest_brief=1
  "$folder/vok_sweep" --fast --stride 7 --jobs "$jobs"
  gcovr -r . --filter src/ --exclude-throw-branches --exclude-unreachable-branches --json "$folder/coverage.json" "$folder"
  tests/coverage/report.py "$folder/coverage.json"
}

# mutants [COUNT]: changes of src/ that no test notices.
mutants() {
  need_tests
  python3 tests/mutants/run.py --jobs "$jobs" ${1:+--count "$1"}
}
