#!/usr/bin/env bash
# Everything that must hold before a change is accepted: installs what is missing, checks
# the sources, builds, and runs all tests, plain and under the sanitizers. Stops at the
# first thing that does not hold.
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

sources() {
    find src tests benchmarks \( -name '*.cpp' -o -name '*.h' \) -print0
}

check_text() {
    scripts/check-sources.sh
    sources | xargs -0 clang-format --dry-run -Werror
    shellcheck scripts/*.sh .ci/run
}

# configure_and_build PRESET [CMAKE-OPTION...]
configure_and_build() {
    cmake --preset "$@" -DBUILD_TESTING=ON
    cmake --build --preset "$1"
}

check_code() {
    local log=build/release/tidy.log
    run-clang-tidy -quiet -p build/release -j "$jobs" "^$TESSIVO_ROOT/src/" >"$log" 2>&1 ||
        { grep -A 4 -E '(error|warning): ' "$log" || cat "$log"; fail "clang-tidy found something"; }
}

# A test that did not run has shown nothing, so it counts as failed.
run_tests() {
    # On a sound server every sample counts, and a machine that stalls for longer than a
    # cycle loses some that no program of ours could save. Such a test may fail once; the
    # log shows that it did.
    run_labelled "$1" realtime -L realtime --repeat until-pass:2
    run_labelled "$1" other -LE realtime
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

stage "Packages" scripts/packages.sh build run sound display test
stage "Sources: format, scripts, left-overs" check_text
# run.sh may have configured the same folder for the application alone.
stage "Build" configure_and_build release -DTESSIVO_BENCHMARKS=ON
stage "Sources: clang-tidy" check_code
stage "Sources: qmllint" cmake --build --preset release --target all_qmllint
stage "ThreadSanitizer" sanitized tsan
stage "AddressSanitizer and UndefinedBehaviorSanitizer" sanitized asan
stage "Fuzzing" fuzzed
stage "All tests" run_tests release
