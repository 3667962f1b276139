#!/usr/bin/env bash
# Tests the page of "vok map --html" in a real browser.
# Usage: run.sh VOK SAMPLES_DIR   (needs chromium, node and npm)
set -euo pipefail
if [ $# -ne 2 ]; then
  echo "usage: run.sh VOK SAMPLES_DIR" >&2
  exit 2
fi
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
vok=$(realpath "$1")
samples=$(realpath "$2")

# The modules lie beside the binary and not in the sources; they are fetched again only when the lock file changes.
work=$(dirname "$vok")/browser
mkdir -p "$work"
cp "$here"/package.json "$here"/.npmrc "$here"/*.mjs "$work"
if ! cmp -s "$here/package-lock.json" "$work/installed-lock.json"; then
  cp "$here/package-lock.json" "$work"
  (cd "$work" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --prefer-offline --no-progress >npm.log 2>&1) || {
    cat "$work/npm.log" >&2
    echo "run.sh: npm ci could not install the modules of package-lock.json" >&2
    exit 1
  }
  cp "$here/package-lock.json" "$work/installed-lock.json"
fi
exec timeout 55 node "$work/map_page_test.mjs" "$vok" "$samples"
