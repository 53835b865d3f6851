#!/usr/bin/env bash
# The installed SDK as a user meets it: install to a prefix under /tmp, build a C application
# with the README's pkg-config recipe and a C++ one with find_package(PosSdk), in a directory
# of their own, and run both under the installed pos-sim with no environment variables at all.
# Usage: install_and_build.sh BUILD_DIR APP_SOURCE_DIR
set -euo pipefail
build=$1
src=$2
unset LD_LIBRARY_PATH
prefix=$(mktemp -d /tmp/pos-sdk-prefix.XXXXXX)
apps=$(mktemp -d /tmp/pos-sdk-apps.XXXXXX)
trap 'rm -rf "$prefix" "$apps"' EXIT
fail() { echo "package test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

# The platform libraries and their headers live under the SDK's own directories, versioned;
# the host-only header is not installed.
for generic in include/binder include/utils include/android lib/libbinder.so lib/liblog.so; do
    [ ! -e "$prefix/$generic" ] || fail "$generic installed at the top of the prefix"
done
[ -e "$prefix/include/pos_sdk/platform/binder/Parcel.h" ] || fail "binder headers missing"
[ ! -e "$prefix/include/pos_sdk/platform/binder/ServiceManagerHost.h" ] || fail "host-only header installed"
readelf -d "$prefix/lib/pos_sdk/libbinder.so.1" | grep -q 'SONAME.*libbinder.so.1' || fail "libbinder without SONAME"
for program in pos-sim pos-sim-service pos-pkg; do
    [ -x "$prefix/bin/$program" ] || fail "$program not installed"
done

# C, the README's recipe.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cc -std=c99 -Wall -Werror "$src/battery.c" -o "$apps/battery_c" $(pkg-config --cflags --libs pos_sdk)
# C++, through the CMake package.
cmake -S "$src" -B "$apps/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$apps/build" >/dev/null
unset PKG_CONFIG_PATH

sim() { env -i PATH=/usr/bin:/bin "$prefix/bin/pos-sim" "$@"; }
out=$(sim run -- "$apps/battery_c")
echo "$out"
[ "$out" = "log ok" ] || fail "C application: unexpected output"

out=$(sim run -- "$apps/build/battery_cxx")
echo "$out"
[ "$out" = "battery 85" ] || fail "C++ application: unexpected output"

# The console changes what the application reads. The command is the shell, so the
# application's directory under /tmp is kept visible by name.
out=$(sim run --keep "$apps" -- /bin/sh -c "'$prefix/bin/pos-sim' ctl power set battery_capacity=15 >/dev/null &&
                                            '$apps/build/battery_cxx'")
echo "$out"
[ "$out" = "battery 15" ] || fail "pos-sim ctl power set battery_capacity=15 did not reach the application"
echo "installed SDK builds and runs applications"
