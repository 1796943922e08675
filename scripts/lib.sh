# shellcheck shell=bash
# What the scripts share. Sourced, never run.

TESSIVO_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export TESSIVO_ROOT

say() {
    printf '%s\n' "$*"
}

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# wait_until SECONDS COMMAND...: tries the command ten times a second until it succeeds;
# fails when it has not within that time.
wait_until() {
    local deadline=$((SECONDS + $1 + 1))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.1
    done
}

# running PID: the process exists and has not ended (one that nobody has collected yet has
# ended).
running() {
    local state
    state=$(ps -o stat= -p "$1" 2>/dev/null) && [[ $state != Z* ]]
}

not_running() {
    ! running "$1"
}

# end_process PID: asks the process to end, and insists after five seconds.
end_process() {
    running "$1" || return 0
    kill "$1" 2>/dev/null || return 0
    wait_until 5 not_running "$1" || kill -KILL "$1" 2>/dev/null || true
}

# remember_process DIR PID: notes a process that belongs to DIR, with its start time, so
# that a number which the system has given to another process meanwhile is not ended.
remember_process() {
    printf '%s %s\n' "$2" "$(start_time "$2")" >>"$1/processes"
}

# start_time PID: clock ticks from boot to the start of the process; nothing when it is gone.
start_time() {
    local stat
    { stat=$(<"/proc/$1/stat"); } 2>/dev/null || return 0
    # The name, in parentheses, may hold spaces; the start time is the 20th field after it.
    awk '{ print $20 }' <<<"${stat##*) }"
}

# end_remembered DIR: ends what remember_process noted, the latest first, except ourselves.
end_remembered() {
    local pid started
    [[ -f $1/processes ]] || return 0
    while read -r pid started; do
        if [[ $pid != "$$" && -n $started && $(start_time "$pid") == "$started" ]]; then
            end_process "$pid"
        fi
    done < <(tac "$1/processes")
    rm -f "$1/processes"
}

# start_remembered DIR LOG COMMAND...: starts a process in the background, away from our
# terminal and its signals, with its output in the file LOG; remembers it. Its id is in $!.
start_remembered() {
    local dir=$1 log=$2
    shift 2
    setsid "$@" </dev/null >"$log" 2>&1 &
    remember_process "$dir" $!
}

# import_environment FILE: exports the variables that a virtual display or sound server wrote.
import_environment() {
    set -a
    # shellcheck source=/dev/null
    source "$1"
    set +a
}
