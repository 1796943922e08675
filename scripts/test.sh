#!/usr/bin/env bash
# Installs what is missing, builds Tessivo and runs its tests.
#
#   scripts/test.sh        the tests of the release build
#   scripts/test.sh all    what must hold before a change is accepted: checks of the sources,
#                          the tests under sanitizers, the fuzzers, and the tests as above
#
# Stops at the first thing that does not hold.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"
exec </dev/null

jobs=$(nproc)
export CTEST_PARALLEL_LEVEL=$jobs
# Tests choose their own display and sound server, never those of the desktop.
unset DISPLAY WAYLAND_DISPLAY PIPEWIRE_REMOTE PIPEWIRE_RUNTIME_DIR

stage() {
    local started=$SECONDS
    printf '\n=== %s\n' "$1"
    shift
    "$@"
    printf '=== %d s\n' $((SECONDS - started))
}

# Every source of a kind, with a zero byte behind each.
sources() {
    find "$@" \( -name '*.cpp' -o -name '*.h' \) -print0
}

check_text() {
    scripts/check-sources.sh
    sources src tests benchmarks | xargs -0 clang-format --dry-run -Werror
    shellcheck scripts/*.sh .ci/run
}

# configure_and_build PRESET [CMAKE-OPTION...]
configure_and_build() {
    cmake --preset "$@" -DBUILD_TESTING=ON
    cmake --build --preset "$1"
}

# The checkers read each source as it is, without the precompiled headers of another compiler.
check_code() {
    local log=build/check/tidy.log
    cmake --preset check
    run-clang-tidy -quiet -p build/check -j "$jobs" "^$TESSIVO_ROOT/src/" >"$log" 2>&1 ||
        { grep -A 4 -E '(error|warning): ' "$log" || cat "$log"; fail "clang-tidy found something"; }
}

# Of the newer clang-tidy only the search for includes that nothing in the file uses. What it
# says of missing ones is taste: a header of ours may bring what its users need.
check_includes() {
    local log=build/check/includes.log found
    find src -name '*.cpp' -print0 | xargs -0 -n 1 -P "$jobs" clang-tidy-19 -quiet \
        --checks='-*,misc-include-cleaner' --warnings-as-errors='-*' -p build/check >"$log" 2>&1 ||
        { grep -A 4 'error: ' "$log" || cat "$log"; fail "clang-tidy-19 could not read a source"; }
    grep -q 'misc-include-cleaner' "$log" || fail "the search for unused includes said nothing"
    found=$(grep 'is not used directly' "$log" | sort -u) || return 0
    fail "unused includes:" "$found"
}

# A test that did not run has shown nothing, so it counts as failed.
run_tests() {
    run_labelled "$1" other -LE realtime
    # On a sound server every sample counts, and a machine that stalls for longer than a
    # cycle loses some that no program of ours could save. Such a test may fail once; the
    # log shows that it did.
    run_labelled "$1" realtime -L realtime --repeat until-pass:2
}

run_labelled() {
    local preset=$1 log=build/$1/tests-$2.log
    shift 2
    ctest --preset "$preset" --no-tests=error "$@" | tee "$log"
    ! grep -q 'tests did not run' "$log" || fail "some tests did not run"
}

sanitized() {
    configure_and_build "$1"
    run_tests "$1"
}

fuzzed() {
    configure_and_build fuzz
    run_labelled fuzz all
}

case ${1:-} in
    "")
        scripts/packages.sh build run sound display test
        configure_and_build release
        run_tests release
        ;;
    all)
        stage "Packages" scripts/packages.sh build run sound display test check
        stage "Sources: format, scripts, rooms, left-overs" check_text
        stage "Build" configure_and_build release -DTESSIVO_BENCHMARKS=ON
        stage "Sources: clang-tidy" check_code
        stage "Sources: unused includes" check_includes
        stage "Sources: qmllint" cmake --build --preset release --target all_qmllint
        stage "ThreadSanitizer" sanitized tsan
        stage "AddressSanitizer and UndefinedBehaviorSanitizer" sanitized asan
        stage "Fuzzing" fuzzed
        stage "All tests" run_tests release
        ;;
    *)
        fail "usage: scripts/test.sh [all]"
        ;;
esac
