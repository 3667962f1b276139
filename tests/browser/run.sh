#!/usr/bin/env bash
# Tests the page of "vok map --html" in a real browser.
# Usage: run.sh VOK SAMPLES_DIR   (needs Debian's chromium, nodejs and npm, and fetches one module with npm)
set -euo pipefail

say() { echo "browser test: $*" >&2; }
fail() {
  say "$1"
  exit "${2:-1}"
}

[ $# -eq 2 ] || fail "usage: run.sh VOK SAMPLES_DIR" 2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
[ -x "$1" ] || fail "there is no program $1; build it first" 2
vok=$(realpath "$1")
samples=$(realpath "$2")
for program in chromium node npm; do
  command -v "$program" >/dev/null || fail "$program is missing (apt-get install chromium nodejs npm)"
done

# The module lies beside the binary and not in the sources; it is fetched again only when the lock file changes.
work=$(dirname "$vok")/browser
mkdir -p "$work"
cp "$here"/package.json "$here"/.npmrc "$here"/*.mjs "$work"

fetch_module() {
  say "fetching what package-lock.json names with npm $(npm --version)"
  cp "$here/package-lock.json" "$work"
  local log=$work/npm.log
  (cd "$work" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --prefer-offline --no-progress) >"$log" 2>&1 || {
    sed 's/^/  /' "$log" >&2
    fail "'npm ci' in $work failed; what it said stands above"
  }
  cp "$here/package-lock.json" "$work/installed-lock.json"
}
cmp -s "$here/package-lock.json" "$work/installed-lock.json" || fetch_module

# Nothing here waits for a time to pass; the limit only ends a browser that hangs for good.
status=0
timeout --kill-after=10 900 node "$work/map_page_test.mjs" "$vok" "$samples" || status=$?
[ "$status" -ne 124 ] || fail "the browser hung: no end after 15 minutes"
[ "$status" -eq 0 ] || fail "failed (status $status); the lines 'not ok' above say where"
