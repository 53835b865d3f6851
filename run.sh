#!/usr/bin/env bash
# One entry point for every job on this project:
#   ./run.sh demo            build everything and run the demonstration under pos-sim
#   ./run.sh test [--asan | --clang]
#                            build and run every test (optionally under ASan + UBSan, or
#                            built with Clang instead of GCC)
#   ./run.sh fuzz [SECONDS]  build the tree with Clang, libFuzzer and sanitizers, and run every
#                            fuzz target under tests/fuzz/ for SECONDS each (default 60)
#   ./run.sh soak [SECONDS]  application processes with many threads against a terminal whose
#                            services are killed and restarted, for SECONDS (default 60)
#   ./run.sh bench           build and run the benchmarks
# Each command installs the Debian packages it needs first.
set -euo pipefail
cd "$(dirname "$0")"
ROOT=$(pwd)

PACKAGES=(cmake ninja-build g++ pkg-config libsqlite3-dev libssl-dev libgtest-dev libgmock-dev
          libbenchmark-dev libpng-dev nlohmann-json3-dev util-linux
          libespeak-ng-dev espeak-ng-data
          libcpp-httplib-dev chromium python3-websockets)
# The bitmap-font generator (tools/fontgen) and the fonts it reads.
PACKAGES+=(libfreetype-dev zlib1g-dev console-setup-linux fonts-dejavu-core fonts-wqy-microhei)
# Only the commands that build with Clang need these (libFuzzer comes with the runtime).
CLANG_PACKAGES=(clang libclang-rt-dev)

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

# Runs every fuzz target of the fuzz build DIR for SECONDS each and prints what it did;
# fails when any target found a crash (the input is kept in DIR/fuzz-crashes/).
run_fuzz_targets() {
    local dir=$1 seconds=$2 failed=0
    local work="$dir/fuzz-corpus" crashes="$dir/fuzz-crashes" logs="$dir/fuzz-logs"
    mkdir -p "$work" "$crashes" "$logs"
    printf '%-24s %8s %12s %10s %10s %8s\n' target seconds executions coverage features crashes
    while IFS= read -r bin; do
        local name seeds options log rc execs cov ft found
        name=$(basename "$bin")
        seeds="$ROOT/tests/fuzz/${name#fuzz_}/corpus"
        options=$(cat "$bin.options" 2>/dev/null || true)
        log="$logs/$name.log"
        mkdir -p "$work/$name"
        rc=0
        # shellcheck disable=SC2086  # the options file holds several words
        "$bin" -max_total_time="$seconds" -timeout=25 -print_final_stats=1 \
            -artifact_prefix="$crashes/$name-" $options "$work/$name" "$seeds" >"$log" 2>&1 || rc=$?
        execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
        cov=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
        ft=$(grep -o 'ft: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
        found=0
        if [ "$rc" -ne 0 ]; then
            found=1
            failed=1
        fi
        printf '%-24s %8s %12s %10s %10s %8s\n' "$name" "$seconds" "${execs:-?}" "${cov:-?}" \
            "${ft:-?}" "$found"
        [ "$rc" -eq 0 ] || { echo "  $name failed (status $rc), see $log:"; grep -m3 -E 'ERROR|check failed|Test unit written' "$log" | sed 's/^/    /'; }
    done < <(find "$dir/tests/fuzz" -type f -name 'fuzz_*' -perm -u+x | sort)
    return $failed
}

cmd=${1:-}
shift || true
case "$cmd" in
test)
    if [ "${1:-}" = "--asan" ]; then
        ensure_packages
        build "$ROOT/build-asan" -DCMAKE_BUILD_TYPE=Debug -DPOS_SANITIZE=ON
        export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        ctest --test-dir "$ROOT/build-asan" --output-on-failure -j "$(nproc)"
    elif [ "${1:-}" = "--clang" ]; then
        PACKAGES+=("${CLANG_PACKAGES[@]}")
        ensure_packages
        build "$ROOT/build-clang" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
            -DCMAKE_CXX_COMPILER=clang++ -DPOS_BUILD_BENCH=OFF
        ctest --test-dir "$ROOT/build-clang" --output-on-failure -j "$(nproc)"
    else
        ensure_packages
        build "$ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
        ctest --test-dir "$ROOT/build" --output-on-failure -j "$(nproc)"
    fi
    ;;
fuzz)
    seconds=${1:-60}
    case "$seconds" in '' | *[!0-9]*) echo "usage: ./run.sh fuzz [SECONDS]" >&2; exit 2 ;; esac
    PACKAGES+=("${CLANG_PACKAGES[@]}")
    ensure_packages
    # The whole tree, with every library under test instrumented for coverage.
    build "$ROOT/build-fuzz" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
        -DCMAKE_CXX_COMPILER=clang++ -DPOS_FUZZ=ON -DPOS_BUILD_BENCH=OFF
    run_fuzz_targets "$ROOT/build-fuzz" "$seconds"
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
    # The display section is answered by an input script that also takes its screenshots.
    export POS_PANELUI_INPUT="$ROOT/tools/demo/display-input.txt" POS_PANELUI_OUT="$out"
    "$ROOT/build/sim/pos-sim" run --scenario "$scenario" --out "$out" -- \
        "$ROOT/build/src/selftest/pos_selftest" --auto --scenario "$scenario" \
        2>"$out/selftest-log.txt" | tee "$out/selftest.txt" ||
        { echo "demo: the self-test failed (see $out/selftest.txt)" >&2; exit 1; }
    # The example sale, built against the installed SDK, run once with a chip card in the slot,
    # a scripted PIN and its input script typing the amount; its output, screenshots (amount
    # entry, card prompt, result), speech (and receipt, with a printer) in demo-out/sale/.
    "$ROOT/examples/sale/build.sh" "$ROOT/build" "$ROOT/build/sdk"
    mkdir -p "$out/sale"
    POS_PANELUI_INPUT="$ROOT/examples/sale/input.txt" POS_PANELUI_OUT="$out/sale" \
        "$ROOT/build/sdk/bin/pos-sim" run --scenario "$ROOT/examples/sale/scripted.json" \
        --out "$out/sale" -- "$ROOT/build/sdk/sale-build/sale" \
        2>"$out/sale/log.txt" | tee "$out/sale/sale.txt" ||
        { echo "demo: the sale failed (see $out/sale/)" >&2; exit 1; }
    echo "drive the sale yourself on the terminal's page (open the address it prints):"
    echo "  build/sdk/bin/pos-sim run --web 8080 --scenario examples/sale/page.json -- build/sdk/sale-build/sale"
    echo "demo artefacts in $out"
    ;;
soak)
    seconds=${1:-60}
    case "$seconds" in '' | *[!0-9]*) echo "usage: ./run.sh soak [SECONDS]" >&2; exit 2 ;; esac
    ensure_packages
    build "$ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    "$ROOT/build/sim/pos-sim" run -- "$ROOT/build/tests/e2e/soak/pos_soak" --seconds "$seconds" \
        --processes 4 --threads 6
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
    echo "usage: ./run.sh demo | test [--asan | --clang] | fuzz [SECONDS] | soak [SECONDS] | bench" >&2
    exit 2
    ;;
esac
