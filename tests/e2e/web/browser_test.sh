#!/usr/bin/env bash
# Builds the sale application against the installed SDK, then drives it on the terminal's page
# in headless Chromium (browser_test.py; skipped with a message when Chromium is missing).
# Usage: browser_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
src=$2
unset LD_LIBRARY_PATH
prefix=$(mktemp -d /tmp/pos-browser-prefix.XXXXXX)
trap 'rm -rf "$prefix"' EXIT
"$src/examples/sale/build.sh" "$build" "$prefix"
# Debian's Python, which has Debian's websockets (another python3 may come first on PATH).
python=/usr/bin/python3
[ -x "$python" ] || python=python3
"$python" "$src/tests/e2e/web/browser_test.py" "$prefix/bin/pos-sim" "$prefix/sale-build/sale" \
    "$src/examples/sale/page.json"
