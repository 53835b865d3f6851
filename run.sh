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
#   ./run.sh cross [armhf | arm64 | all]
#                            cross-compile everything for 32-bit (armhf, the default) or 64-bit
#                            ARM and run the tests under qemu user-mode emulation
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

# The device builds. Debian's cross compiler and qemu do the work; the target's libraries come
# from Debian's packages of that architecture, fetched with an apt state of the build's own and
# unpacked into a target root (build-cross-ARCH/target-root) rather than installed beside the
# host's: the host's dpkg and package lists stay as they are, and multiarch installs, which
# must match the host's package versions exactly, are not needed.
# The packages the build links against, with what they need (apt resolves those), less the C
# library's development packages: the cross compiler brings its own C library.
CROSS_ROOT_PACKAGES=(libgcc-s1 libstdc++6 zlib1g-dev libsqlite3-dev libssl-dev libpng-dev
                     libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
                     libespeak-ng-dev libfreetype-dev libcpp-httplib-dev)
CROSS_ROOT_SKIP=(libc6-dev libc-dev-bin libcrypt-dev libnsl-dev libtirpc-dev linux-libc-dev
                 rpcsvc-proto)

cross_triplet() {
    case "$1" in
    armhf) echo arm-linux-gnueabihf ;;
    arm64) echo aarch64-linux-gnu ;;
    esac
}

cross_qemu() {
    case "$1" in
    armhf) echo arm ;;
    arm64) echo aarch64 ;;
    esac
}

# The cross compiler and qemu, installed like every other package (waiting for another apt on
# this machine to finish rather than failing at once).
cross_host_packages() {
    local missing=()
    for p in "g++-$(cross_triplet "$1")" qemu-user-static; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "run.sh: please install these Debian packages first: ${missing[*]}" >&2
        exit 1
    fi
    echo "run.sh: installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get -o DPkg::Lock::Timeout=600 update -qq || echo "run.sh: some package lists did not update; going on" >&2
    apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Unpacks the target's libraries into ROOT (once; delete ROOT to refresh it). Links that point
# at absolute paths are made to point inside ROOT, so the root stands on its own.
cross_target_root() {
    local arch=$1 root=$2 want state
    want="$arch ${CROSS_ROOT_PACKAGES[*]}"
    [ -f "$root/.packages" ] && [ "$(cat "$root/.packages")" = "$want" ] && return 0
    echo "run.sh: unpacking the $arch target root into $root"
    rm -rf "$root"
    state="$root/.apt"
    mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$root/.debs/partial"
    touch "$state/status"
    local apt=(apt-get -qq -o "APT::Architecture=$arch" -o "APT::Architectures::=$arch"
               -o "Dir::State::Lists=$state/lists" -o "Dir::Cache=$state/cache"
               -o "Dir::State::status=$state/status" -o APT::Sandbox::User=root)
    # A mirror may serve one architecture's index while another's is being synced; the
    # indexes that did arrive are enough, and a package they lack fails the download below.
    "${apt[@]}" update || echo "run.sh: some $arch package lists did not update; going on" >&2
    "${apt[@]}" -o "Dir::Cache::archives=$root/.debs" install --download-only -y \
        --no-install-recommends "${CROSS_ROOT_PACKAGES[@]}"
    local p deb name
    for p in "${CROSS_ROOT_PACKAGES[@]}"; do
        compgen -G "$root/.debs/${p}_*.deb" >/dev/null ||
            { echo "run.sh: the $arch package $p was not downloaded" >&2; exit 1; }
    done
    for deb in "$root"/.debs/*.deb; do
        name=$(basename "$deb")
        name=${name%%_*}
        case " ${CROSS_ROOT_SKIP[*]} " in *" $name "*) continue ;; esac
        dpkg-deb -x "$deb" "$root"
    done
    while IFS= read -r link; do
        local target
        target=$(readlink "$link")
        case "$target" in /*) ln -sfn "$root$target" "$link" ;; esac
    done < <(find "$root" -path "$root/.debs" -prune -o -path "$state" -prune -o -type l -print)
    rm -rf "$root/.debs" "$state"
    echo "$want" >"$root/.packages"
}

# Target programs that start other target programs (pos-sim starting a test or a service) need
# the kernel to hand those to qemu: binfmt_misc with the qemu-user-static entry. Says whether
# that works here.
cross_binfmt() {
    local name
    name=qemu-$(cross_qemu "$1")
    local dir=/proc/sys/fs/binfmt_misc
    if [ ! -e "$dir/register" ] && [ "$(id -u)" -eq 0 ]; then
        mount -t binfmt_misc binfmt_misc "$dir" 2>/dev/null || true
    fi
    if [ ! -e "$dir/$name" ] && [ -w "$dir/register" ] && [ -f "/usr/lib/binfmt.d/$name.conf" ]; then
        cat "/usr/lib/binfmt.d/$name.conf" >"$dir/register" 2>/dev/null || true
    fi
    grep -qx enabled "$dir/$name" 2>/dev/null
}

# Builds everything for ARCH in build-cross-ARCH and runs its tests under qemu; prints the
# build and test times and which tests could not run here.
cross_build_and_test() {
    local arch=$1 dir="$ROOT/build-cross-$1" started built
    cross_host_packages "$arch"
    cross_target_root "$arch" "$dir/target-root"
    started=$(date +%s)
    # With binfmt_misc the end-to-end tests that run under pos-sim run under a native one: the
    # target's test programs against the host's simulated services (qemu cannot give the
    # target's pos-sim its sandbox).
    # The font generator runs during the build: it is built natively in build/.
    local host_tools=(fontgen) host=(-DPOS_HOST_FONTGEN="$ROOT/build/tools/fontgen/fontgen")
    local binfmt=0
    if cross_binfmt "$arch"; then
        binfmt=1
        host_tools+=(pos-sim)
        host+=(-DPOS_HOST_SIM="$ROOT/build/sim/pos-sim")
    else
        host+=(-DPOS_HOST_SIM=)
    fi
    cmake -S "$ROOT" -B "$ROOT/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    cmake --build "$ROOT/build" -j "$(nproc)" --target "${host_tools[@]}"
    build "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${host[@]}" \
        -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/toolchain-$arch.cmake" -DPOS_TARGET_ROOT="$dir/target-root"
    # The device platform path: the library built against given platform headers and libraries
    # instead of platform/ (this build's own stand in for the terminal's).
    build "$dir-device" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${host[0]}" \
        -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/toolchain-$arch.cmake" -DPOS_TARGET_ROOT="$dir/target-root" \
        -DPOS_PLATFORM=device \
        -DPOS_DEVICE_INCLUDE_DIRS="$ROOT/platform/binder/include;$ROOT/platform/log/include;$ROOT/platform/sysglue/include;$ROOT/platform/panelui/include" \
        -DPOS_DEVICE_LIBRARY_DIRS="$dir/platform;$dir/platform/binder;$dir/platform/sysglue;$dir/platform/panelui"
    built=$(date +%s)
    echo "cross $arch: built in $((built - started)) s (and the library against a device platform)"
    if [ "$binfmt" -eq 1 ]; then
        ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
    else
        # Only the tests whose target programs start no other target program.
        echo "cross $arch: binfmt_misc cannot hand target programs to qemu here, so the tests"
        echo "  under tests/e2e/ (pos-sim starts each of them) and the tests that start pos-sim"
        echo "  themselves do not run; unit and wire tests only:"
        for suite in unit wire; do
            ctest --test-dir "$dir/tests/$suite" --output-on-failure -j "$(nproc)"
        done
    fi
    echo "cross $arch: tests ran in $(($(date +%s) - built)) s"
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
    # entry, card prompt, result), speech and printed receipt in demo-out/sale/.
    "$ROOT/examples/sale/build.sh" "$ROOT/build" "$ROOT/build/sdk"
    mkdir -p "$out/sale"
    POS_PANELUI_INPUT="$ROOT/examples/sale/input.txt" POS_PANELUI_OUT="$out/sale" \
        "$ROOT/build/sdk/bin/pos-sim" run --scenario "$ROOT/examples/sale/scripted.json" \
        --out "$out/sale" -- "$ROOT/build/sdk/sale-build/sale" \
        2>"$out/sale/log.txt" | tee "$out/sale/sale.txt" ||
        { echo "demo: the sale failed (see $out/sale/)" >&2; exit 1; }
    # The sale's receipt beside its screenshots.
    mv "$out/sale/receipts/"receipt-*.png "$out/sale/" && rmdir "$out/sale/receipts" ||
        { echo "demo: the sale printed no receipt (see $out/sale/log.txt)" >&2; exit 1; }
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
cross)
    target=${1:-armhf}
    case "$target" in
    armhf | arm64) targets=("$target") ;;
    all) targets=(armhf arm64) ;;
    *) echo "usage: ./run.sh cross [armhf | arm64 | all]" >&2; exit 2 ;;
    esac
    ensure_packages
    for t in "${targets[@]}"; do cross_build_and_test "$t"; done
    ;;
*)
    echo "usage: ./run.sh demo | test [--asan | --clang] | fuzz [SECONDS] | soak [SECONDS] | bench | cross [armhf | arm64 | all]" >&2
    exit 2
    ;;
esac
