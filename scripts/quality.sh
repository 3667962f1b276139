# shellcheck shell=bash
# What tells how good the tests are.

# mutants [COUNT]: changes of src/ that no test notices.
mutants() {
  need_tests
  python3 tests/mutants/run.py --jobs "$jobs" ${1:+--count "$1"}
}
