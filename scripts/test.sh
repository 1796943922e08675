#!/usr/bin/env bash
# Installs what is missing, builds Tessivo and runs its tests.
#
#   scripts/test.sh        the release build and every test of it
#   scripts/test.sh all    everything that must hold before a change is accepted: besides that,
#                          the checks of the sources, the benchmarks, which must compile, and
#                          the tests under the sanitizers, with the fuzzers
#
# Stops at the first thing that does not hold.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"
exec </dev/null

jobs=$(nproc)
# Tests choose their own display and sound server, never those of the desktop.
unset DISPLAY WAYLAND_DISPLAY PIPEWIRE_REMOTE PIPEWIRE_RUNTIME_DIR

stage() {
    local started=$SECONDS
    printf '\n=== %s\n' "$1"
    shift
    "$@"
    printf '=== %d s\n' $((SECONDS - started))
}

check_text() {
    scripts/check-sources.sh
    find src tests benchmarks \( -name '*.cpp' -o -name '*.h' \) -print0 |
        xargs -0 clang-format --dry-run -Werror
    shellcheck scripts/*.sh benchmarks/*.sh .ci/run
}

# Every source is compiled as it is, without the precompiled headers that hide what it forgot to
# include; those of the program with all checks, those of the tests and benchmarks for warnings
# and for includes that nothing needs. Headers are read once more for the latter.
check_code() {
    local unused=misc-include-cleaner
    local -a server
    cmake --preset check
    # No command compiles a header; that of a file nearby may lack the sound server's folders.
    read -ra server < <(pkg-config --cflags-only-I libpipewire-0.3)
    find src -name '*.cpp' -print0 | tidy
    find tests benchmarks -name '*.cpp' -print0 | tidy --checks="-*,clang-diagnostic-*,$unused"
    find src -name '*.h' -print0 |
        tidy --checks="-*,$unused" --extra-arg=-w "${server[@]/#-I/--extra-arg=-isystem}"
}

# tidy [OPTION...]: checks the files that the standard input names.
tidy() {
    local log=build/check/tidy.log
    xargs -0 -n 1 -P "$jobs" clang-tidy-22 -p build/check --quiet "$@" >"$log" 2>&1 ||
        { grep -A 4 -E '(error|warning): ' "$log" || cat "$log"; fail "clang-tidy found something"; }
}

# build PRESET [CMAKE-OPTION...]
build() {
    cmake --preset "$@" -DBUILD_TESTING=ON
    cmake --build --preset "$1"
}

build_release() {
    # A folder that is configured keeps its benchmarks.
    local options=()
    [[ -f build/release/CMakeCache.txt ]] || options=(-DTESSIVO_BENCHMARKS=OFF)
    build release "${options[@]}"
}

# run_tests PRESET [REALTIME-JOBS]
run_tests() {
    run_labelled "$1" other -LE realtime -j "$jobs"
    run_labelled "$1" realtime -L realtime -j "${2:-1}"
}

# A test that did not run has shown nothing, so it counts as failed.
run_labelled() {
    local preset=$1 log=build/$1/tests-$2.log
    shift 2
    ctest --preset "$preset" --no-tests=error "$@" | tee "$log"
    ! grep -q 'tests did not run' "$log" || fail "some tests did not run"
}

sanitized() {
    build "$1"
    run_tests "$1"
}

case ${1:-} in
    '')
        stage "Packages" scripts/packages.sh build run sound display test
        stage "Build" build_release
        ;;
    all)
        stage "Packages" scripts/packages.sh build run sound display test check
        stage "Sources: format, scripts, left-overs, layers" check_text
        stage "Build" build release -DTESSIVO_BENCHMARKS=ON
        stage "Sources: qmllint" cmake --build --preset release --target all_qmllint
        stage "Package" scripts/package.sh
        stage "Sources: clang-tidy" check_code
        stage "RealtimeSanitizer" sanitized rtsan
        stage "ThreadSanitizer" sanitized tsan
        stage "AddressSanitizer, UndefinedBehaviorSanitizer, fuzzers" sanitized asan
        ;;
    *) fail "usage: test.sh [all]" ;;
esac
stage "Tests" run_tests release 2
