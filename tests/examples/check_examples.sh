#!/usr/bin/env bash
# Runs every example on the sample and looks with the tool at what it did.
# Usage: check_examples.sh EXAMPLES_DIR VOK LIBVOK_C SAMPLES_DIR
set -euo pipefail
bin=$1 vok=$2 library=$3 samples=$4
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../examples" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sample=("$samples/psdt.bin" "$samples/codeplug.bin")

# The result is sound and differs from the sample by the lines on standard input.
expect_changes() {
  "$vok" --psdt "$samples/psdt.bin" --codeplug "$1" check >/dev/null
  diff -u - <("$vok" diff "$samples/psdt.bin+$samples/codeplug.bin" "$samples/psdt.bin+$1")
}

"$bin/host" "${sample[@]}" "$work/host.bin" | grep 'as expected: VOK Error #121: Large Chunk' >/dev/null
expect_changes "$work/host.bin" <<'TEXT'
~ CPGA type 10 ID 0, 31 -> 38 bytes
+ CPGA type 10 ID 16, 3 bytes
TEXT

"$bin/program" "${sample[@]}" "$work/program.bin" | grep 'CPGA: 27 items, 0 lost, 0 programs and 0 erases' >/dev/null
expect_changes "$work/program.bin" <<'TEXT'
- CPGA type 10 ID 0, 31 bytes
+ CPGA type 10 ID 17, 15 bytes
TEXT

python3 "$here/script.py" "$library" "${sample[@]}" "$work/script.bin" | grep 'added type 10 ID 16' >/dev/null
expect_changes "$work/script.bin" <<'TEXT'
+ CPGA type 10 ID 16, 19 bytes
TEXT

for run in 1 2; do "$bin/embedding" "$work/flash.bin" "run $run" >"$work/log"; done
diff -u - "$work/log" <<'TEXT'
0: run 1
1: run 2
TEXT
