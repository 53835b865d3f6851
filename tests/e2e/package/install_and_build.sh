#!/usr/bin/env bash
# Usage: install_and_build.sh BUILD_DIR APP_SOURCE_DIR POS_SIM
set -euo pipefail
build=$1
app=$2
sim=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
export LD_LIBRARY_PATH=$prefix/lib
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig

# C, through pkg-config.
cc -std=c99 -Wall -Werror "$app/battery.c" -o "$work/battery_c" $(pkg-config --cflags --libs pos_sdk)

# C++, through the CMake package.
cmake -S "$app" -B "$work/app-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/app-build" >/dev/null

out=$("$sim" run -- "$work/battery_c")
echo "$out"
[ "$out" = "log ok" ] || { echo "C application: unexpected output"; exit 1; }

out=$("$sim" run -- "$work/app-build/battery_cxx")
echo "$out"
[ "$out" = "battery 85" ] || { echo "C++ application: unexpected output"; exit 1; }
echo "installed SDK builds and runs applications"
