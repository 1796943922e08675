#!/usr/bin/env bash
# Asks the tests whether they would notice: plants faults of simple kinds (faults.py has them) one
# by one at random places, builds what each touches, runs the tests that cover it, and prints
# those that nothing noticed.
#
#   scripts/mutants.sh [N]    N faults, 70 if not said, as many in each layer
#   scripts/mutants.sh again  those that survived once more, after tests were mended
#   scripts/mutants.sh server those that survived, by the tests on a running sound server
#   scripts/mutants.sh show   what is known so far
#
# SEED=n       draws the same faults again; goes on with that run where it was interrupted. The
#              last three take the latest run if it is not given.
# SINCE=commit takes only files that have changed since.
#
# All of it happens in build/mutants/: a copy of the sources with a build of its own, and a folder
# for each run, with the table of its faults, that of its results, and a log for each fault.
#
# A fault that the compiler refuses, also by a warning, does not count. A test has noticed one if
# it fails or hangs twice in a row. Tests that fail without any fault are left out. A survivor is
# not always a hole in the tests: some faults change nothing that anybody could perceive.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

jobs=$(nproc)
work=$TESSIVO_ROOT/build/mutants
tree=$work/tree
layers=(Audio Models Utils Platform ViewModels Views Style)
unset DISPLAY WAYLAND_DISPLAY PIPEWIRE_REMOTE PIPEWIRE_RUNTIME_DIR
PATH+=:/usr/lib/qt6/bin
# A fault in a loop does not fill the disk or the memory.
ulimit -f $((16 << 20)) -v $((8 << 20))

# Brings the copy up to date, and takes out what an interrupted run left in it.
refresh_copy() {
    local file
    mkdir -p "$tree" "$work/home"
    while read -r -d '' file; do
        [[ ! $file -nt $tree/$file ]] || cp --parents "$file" "$tree"
    done < <(git ls-files -z --cached --others --exclude-standard)
    [[ ! -f $work/planted ]] || take_out "$(<"$work/planted")"
    # What a fault prevents is waited for in vain each time.
    sed -i 's/kPatience{30}/kPatience{6}/' "$tree/tests/support/Basics.h"
    sed -i 's/patience: 30000/patience: 6000/' "$tree/tests/Views/ViewTestCase.qml"
}

# QML is not compiled ahead of time here: the program does the same without it, and it takes long.
configure() {
    (cd "$tree" && cmake --preset release -DTESSIVO_BENCHMARKS=OFF -DBUILD_TESTING=ON \
        -DTESSIVO_QML_OPTIONS=NO_CACHEGEN)
}

# build LOG [TARGET...]
build() {
    local log=$1
    shift
    (cd "$tree" && cmake --build --preset release -j "$jobs" -t "${@:-all}") >>"$log" 2>&1
}

# run_tests FOLDER LOG CTEST-OPTION...: the tests of one folder. Fails if one fails.
run_tests() {
    local folder=$tree/build/release/$1 log=$2
    shift 2
    # A fault in what deletes files does not reach those of the person who runs this.
    HOME=$work/home ctest --test-dir "$folder" --output-on-failure --repeat until-pass:2 --timeout 60 \
        "${excluded[@]}" "$@" </dev/null >>"$log" 2>&1
}

failed_tests() {
    sed -n 's/^[[:space:]]*[0-9]* - \(.*\) (.*)$/\1/p' "$@" | sort -u
}

prepare() {
    refresh_copy
    say "Building the copy"
    if ! configure >"$work/build.log" 2>&1 || ! build "$work/build.log"; then
        tail -n 20 "$work/build.log" >&2
        fail "the copy cannot be built"
    fi
    excluded=()
    say "Running its tests, without a fault"
    rm -f "$work/tests.log"
    if ! run_tests . "$work/tests.log" "${kind_of_tests[@]}"; then
        say "Left out, because they fail anyway:" "$(failed_tests "$work/tests.log")"
        excluded=(-E "^($(failed_tests "$work/tests.log" | paste -sd '|'))\$")
    fi
}

# folders_for FILE: where the tests are that cover it, the nearest first.
folders_for() {
    case $server:$1 in
        :src/Audio/*) echo tests/Audio tests/ViewModels ;;
        :src/Models/* | :src/Utils/*) echo tests/Models tests/Audio tests/ViewModels tests/Views ;;
        :src/Platform/System/*)
            echo tests/Platform/System tests/Models tests/Audio tests/ViewModels tests/Views ;;
        :src/Platform/Midi/*) echo tests/Platform/Midi tests/Audio tests/ViewModels ;;
        :src/Platform/Files/* | :src/Platform/Sound/File/*)
            echo tests/Platform/Sound tests/Models tests/Audio tests/ViewModels ;;
        :src/Platform/*) echo tests/Platform/Sound tests/Audio tests/ViewModels ;;
        :src/ViewModels/*) echo tests/ViewModels tests/Views ;;
        :src/Views/* | :src/Style/*) echo tests/Views ;;
        server:src/Platform/Midi/*) echo tests/Platform/Midi tests/e2e ;;
        server:src/Platform/System/*) echo tests/e2e ;;
        server:src/Platform/*) echo tests/Platform/Sound tests/Platform/Midi tests/Audio tests/e2e ;;
        server:src/Audio/*) echo tests/Audio tests/e2e ;;
        server:*) echo tests/e2e ;;
    esac
}

take_out() {
    cp "$1" "$tree/$1"
    rm -f "$work/planted"
}

# try LOG FAULT...: plants the fault, and prints what came of it.
try() {
    local log=$1 file=$3 folder verdict=survived
    shift
    printf '%s\n' "$file" >"$work/planted"
    (cd "$tree" && "$TESSIVO_ROOT/scripts/faults.py" plant "$@") >>"$log" 2>&1 || verdict=gone
    if [[ $file == *.qml ]] && ! qmlformat "$tree/$file" >/dev/null 2>>"$log"; then
        verdict=refused
    fi
    if [[ $verdict == survived ]]; then
        for folder in $(folders_for "$file"); do
            if ! build "$log" "$folder/all"; then
                verdict=refused
                break
            fi
            if ! run_tests "$folder" "$log" --stop-on-failure "${kind_of_tests[@]}"; then
                verdict="noticed by $(failed_tests "$log" | paste -sd ' ')"
                break
            fi
        done
    fi
    take_out "$file"
    printf '%s\n' "$verdict"
}

# results: the newest result of each fault, by its number.
results() {
    [[ ! -f $run/results ]] || sort -s -t $'\t' -k 1,1n "$run/results" |
        awk -F '\t' '$1 != number && NR > 1 { print line } { number = $1; line = $0 }
            END { if (NR) print line }'
}

survivors() {
    results | awk -F '\t' '$3 == "survived" { print $1 }'
}

# try_all NUMBER...: tries these faults.
try_all() {
    local number layer fault verdict
    for number in "$@"; do
        mapfile -t -d $'\t' fault < <(sed -n "${number}p" "$run/faults" | tr -d '\n')
        layer=${fault[0]}
        verdict=$(try "$run/$number.log" "${fault[@]:1}")
        printf '%s\t%s\t%s\n' "$number" "$layer" "$verdict" >>"$run/results"
        say "$number $layer, ${fault[1]}, ${fault[2]}:${fault[3]}: $verdict"
    done
}

show() {
    local number
    say "Survived:"
    for number in $(survivors); do
        sed -n "${number}p" "$run/faults"
    done | scripts/faults.py tell
    say "Noticed, in percent of those that were compiled (seed $SEED):"
    results | awk -F '\t' -v layers="${layers[*]}" '
        { planted[$2]++ }
        $3 ~ /^noticed/ { noticed[$2]++ }
        $3 ~ /^(refused|gone)$/ { refused[$2]++ }
        function row(name, all, not, seen) {
            left = all - not
            printf "%-12s %4d planted, %3d refused by the compiler, %4d noticed, %3d survived: %.0f %%\n",
                name, all, not, seen, left - seen, left ? seen * 100 / left : 0
        }
        END {
            count = split(layers, names, " ")
            for (i = 1; i <= count; i++) {
                name = names[i]
                row(name, planted[name], refused[name], noticed[name])
                all += planted[name]; not += refused[name]; seen += noticed[name]
            }
            row("all", all, not, seen)
        }'
}

command=${1:-70}
case $command in
    again | server | show)
        SEED=${SEED:-$(find "$work" -maxdepth 2 -path '*/run-*/faults' -printf '%T@ %h\n' |
            sort -n | sed -n '$s/.*run-//p')}
        [[ -n $SEED ]] || fail "there is no run yet"
        ;;
    *[!0-9]* | 0) fail "usage: mutants.sh [N|again|server|show]" ;;
    *) SEED=${SEED:-$RANDOM} ;;
esac
run=$work/run-$SEED
mkdir -p "$run"
exec 9>"$work/lock"
flock -n 9 || [[ $command == show ]] || fail "another run is in progress"
server=
# Most tests wait for most of their time.
kind_of_tests=(-LE realtime -j $((2 * jobs)))
if [[ $command == server ]]; then
    server=server
    kind_of_tests=(-L realtime -j 1)
fi

case $command in
    show) ;;
    again | server)
        prepare
        mapfile -t numbers < <(survivors)
        try_all "${numbers[@]}"
        ;;
    *)
        say "Seed $SEED"
        if [[ ! -f $run/faults ]]; then
            mapfile -t files < <(git ls-files 'src/*.cpp' 'src/*.h' 'src/*.qml')
            [[ -z ${SINCE:-} ]] ||
                mapfile -t files < <(git diff --name-only --diff-filter=d "$SINCE" -- \
                    'src/*.cpp' 'src/*.h' 'src/*.qml')
            scripts/faults.py list "$SEED" "$command" "${files[@]}" >"$run/faults"
        fi
        prepare
        mapfile -t numbers < <(comm -23 <(seq "$(wc -l <"$run/faults")" | sort) \
            <(results | cut -f 1 | sort) | sort -n)
        try_all "${numbers[@]}"
        ;;
esac
show
