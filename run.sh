#!/usr/bin/env bash
# One entry point for every job on this project:
#   ./run.sh demo            build everything and run the demonstration under pos-sim
#   ./run.sh test [--asan]   build and run every test (optionally under ASan + UBSan)
#   ./run.sh bench           build and run the benchmarks
# Each command installs the Debian packages it needs first.
set -euo pipefail
cd "$(dirname "$0")"
ROOT=$(pwd)

PACKAGES=(cmake ninja-build g++ pkg-config libsqlite3-dev libssl-dev libgtest-dev libgmock-dev
          libbenchmark-dev libpng-dev nlohmann-json3-dev util-linux)

ensure_packages() {
    local missing=()
    for p in "${PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" ||
            missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -eq 0 ]; then
        echo "run.sh: installing ${missing[*]}"
        export DEBIAN_FRONTEND=noninteractive
        apt-get update -qq
        apt-get install -y -qq "${missing[@]}" >/dev/null
    else
        echo "run.sh: please install these Debian packages first: ${missing[*]}" >&2
        echo "        sudo apt-get install ${missing[*]}" >&2
        exit 1
    fi
}

build() {  # build DIR [cmake options...]
    local dir=$1
    shift
    # ccache, when the machine has it, only speeds rebuilds up; nothing depends on it.
    if command -v ccache >/dev/null 2>&1; then
        export CCACHE_BASEDIR="$ROOT" CCACHE_NOHASHDIR=1
        set -- "$@" -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    cmake -S "$ROOT" -B "$dir" -G Ninja "$@" >/dev/null
    cmake --build "$dir" -j "$(nproc)"
}

cmd=${1:-}
shift || true
case "$cmd" in
test)
    ensure_packages
    if [ "${1:-}" = "--asan" ]; then
        build "$ROOT/build-asan" -DCMAKE_BUILD_TYPE=Debug -DPOS_SANITIZE=ON
        export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        ctest --test-dir "$ROOT/build-asan" --output-on-failure -j "$(nproc)"
    else
        build "$ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
        ctest --test-dir "$ROOT/build" --output-on-failure -j "$(nproc)"
    fi
    ;;
demo)
    ensure_packages
    build "$ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    out="$ROOT/demo-out"
    rm -rf "$out"
    mkdir -p "$out"
    "$ROOT/build/sim/pos-sim" run --out "$out" -- "$ROOT/build/tools/pos_demo/pos_demo" | tee "$out/demo.txt"
    # Then the whole self-test on the demo terminal; the library's log goes to a file beside it.
    scenario="$ROOT/tools/demo/scenario.json"
    "$ROOT/build/sim/pos-sim" run --scenario "$scenario" --out "$out" -- \
        "$ROOT/build/src/selftest/pos_selftest" --auto --scenario "$scenario" \
        2>"$out/selftest-log.txt" | tee "$out/selftest.txt" ||
        { echo "demo: the self-test failed (see $out/selftest.txt)" >&2; exit 1; }
    echo "demo artefacts in $out"
    ;;
bench)
    ensure_packages
    build "$ROOT/build-bench" -DCMAKE_BUILD_TYPE=Release
    for b in "$ROOT"/build-bench/bench/bench_*; do
        [ -x "$b" ] || continue
        echo "== $(basename "$b")"
        "$b" --benchmark_counters_tabular=true "$@"
    done
    ;;
*)
    echo "usage: ./run.sh demo | test [--asan] | bench" >&2
    exit 2
    ;;
esac
