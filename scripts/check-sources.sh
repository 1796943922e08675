#!/usr/bin/env bash
# Looks for what does not belong into the repository: left-overs of editing and merging,
# excuses, switched-off tests and checks, files that no target builds, includes that no layer
# allows, texts without a translation; and for too many or too few tests.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

faults=0
fault() {
    printf '%s\n' "$1" >&2
    [[ -z ${2:-} ]] || printf '%s\n' "$2" | sed 's/^/    /' >&2
    faults=$((faults + 1))
}

ours() {
    find . \( -path ./.git -o -path ./build -o -path ./demo -o -path ./.cache \) -prune -o \
        -type f "$@" -print
}

# no_text WHAT PATTERN FIND-OPTIONS...: no file of ours has a line that matches. The patterns
# are written so that they do not match themselves.
no_text() {
    local what=$1 pattern=$2 found
    shift 2
    found=$(ours "$@" | tr '\n' '\0' | xargs -0 -r grep -HnIE -e "$pattern" || true)
    [[ -z $found ]] || fault "$what:" "$found"
}

no_text "unfinished work" '\b(TO[D]O|FIX[M]E|X[X]X|HAC[K])\b'
no_text "marks of a merge" '^(<{7}|>{7}|[|]{7})( |$)|^={7}$'
no_text "a check switched off" 'NO[L]INT|GCC diagnostic ig[n]ored|clang-format o[f]f|qmllint di[s]able' \
    ! -name '*.md'
no_text "a test switched off" 'DISA[B]LED_|GTEST_S[K]IP|Q[S]KIP|\bskip[(]"' -path './tests/*'
no_text "output for debugging" '\bq(De[b]ug|Wa[r]ning)\b|console\.l[o]g|std::ce[r]r' -path './src/*'
no_text "white space at the end of a line" '[[:blank:]]+$' ! -name '*.md' ! -name '*.wav'

found=$(ours \( -name '*.orig' -o -name '*.rej' -o -name '*~' -o -name '*.swp' -o -name '*.log' \
    -o -name 'core' -o -name '*.user' -o -empty \))
[[ -z $found ]] || fault "files left behind:" "$found"

found=$(ours -size +1024k)
[[ -z $found ]] || fault "files above 1 MiB:" "$found"

# A source that no CMake file names is neither built nor tested.
listed=$(find . -path ./build -prune -o \( -name CMakeLists.txt -o -name '*.cmake' \) -exec cat {} +)
while read -r file; do
    name=$(basename "$file")
    # A program is often named by its stem alone.
    grep -qwF -e "$name" -e "${name%.cpp}" <<<"$listed" || fault "no target builds $file"
done < <(find src tests benchmarks \( -name '*.cpp' -o -name '*.qml' -o -name '*.svg' \))

found=$(scripts/check-includes.py 2>&1) || fault "includes that no layer allows:" "$found"

found=$(scripts/translations.sh check 2>&1) || fault "texts:" "$found"

# Lines without blanks and comments.
lines_in() {
    find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.qml' -o -name '*.py' \
        -o -name '*.sh' \) -exec cat {} + | grep -cvE '^[[:space:]]*(//.*)?$'
}
tests=$(lines_in tests)
total=$((tests + $(lines_in src benchmarks scripts)))
share="$tests of $total lines are tests, $((tests * 1000 / total)) in a thousand"
say "$share"
((tests * 3 <= total && tests * 4 >= total)) || fault "not between a quarter and a third: $share"

((faults == 0)) || fail "$faults kinds of left-overs"
