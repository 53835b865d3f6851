#!/usr/bin/env bash
# Installs the SDK of the build tree BUILD into PREFIX and builds the sale application against
# it, as an application developer would, into PREFIX/sale-build/sale.
# Usage: examples/sale/build.sh BUILD PREFIX
set -euo pipefail
build=$1
prefix=$(mkdir -p "$2" && cd "$2" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$here" -B "$prefix/sale-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/sale-build" >/dev/null
