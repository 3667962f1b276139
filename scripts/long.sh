# shellcheck shell=bash
# What takes as long as it is given.

sweep() {
  build release -DVOK_BUILD_TESTS=ON
  if [ -n "${1:-}" ]; then
    build/release/vok_sweep --seconds "$1"
  else
    build/release/vok_sweep --markdown docs/reliability.md
    survey
  fi
}

# survey [STRIDE]
survey() {
  build release
  python3 tests/survey/survey.py build/release/vok --stride "${1:-1}" --page docs/reliability.md
}

fuzz() {
  need clang libclang-rt-14-dev
  CC=clang CXX=clang++ quietly cmake --preset sanitize -B build/fuzz -DVOK_BUILD_FUZZ=ON -DVOK_BUILD_TESTS=OFF
  local target=${1:-mount}
  cmake --build build/fuzz -j "$jobs" --target "vok_fuzz_$target"
  mkdir -p "build/fuzz/corpus/$target"
  "build/fuzz/vok_fuzz_$target" -max_total_time="${2:-60}" -max_len=3000 -timeout=20 -rss_limit_mb=2048 \
    -close_fd_mask="$([ "$target" = tool ] && echo 3 || echo 0)" "build/fuzz/corpus/$target" "fuzz/corpus/$target"
}

# bench [--check | --record]
bench() {
  need libbenchmark-dev python3
  build release -DVOK_BUILD_BENCH=ON
  if [ -z "${1:-}" ]; then
    build/release/vok_bench --markdown docs/performance.md
    bench/tool_bench.py build/release/vok
    return
  fi
  need valgrind
  bench/check_instructions build/release "$1"
}
