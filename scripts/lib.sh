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

# wait_until SECONDS COMMAND...: tries the command fifty times a second until it succeeds; fails
# when it has not within that time.
wait_until() {
    local deadline=$((SECONDS + $1 + 1))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.02
    done
}

# stat_of PID: its state, parent and so on, from the third field of its stat file on. Nothing
# when there is no such process.
stat_of() {
    local stat
    { stat=$(<"/proc/$1/stat"); } 2>/dev/null || return 0
    # The second field, the name in parentheses, may hold spaces.
    printf '%s\n' "${stat##*) }"
}

# running PID: the process exists and has not ended (one that nobody has collected yet has
# ended).
running() {
    [[ $(stat_of "$1") == [!ZX]* ]]
}

not_running() {
    ! running "$1"
}

# end_process PID: asks the process to end, and insists after five seconds.
end_process() {
    running "$1" || return 0
    kill "$1" 2>/dev/null || return 0
    # A process that was stopped reads its signals when it goes on.
    kill -CONT "$1" 2>/dev/null || true
    wait_until 5 not_running "$1" || kill -KILL "$1" 2>/dev/null || true
}

# start_time PID: clock ticks from boot to the start of the process; nothing when it is gone.
start_time() {
    stat_of "$1" | awk '{ print $20 }'
}

# remember_process DIR PID: notes a process that belongs to DIR, with its start time, so that a
# number which the system has given to another process meanwhile is not ended.
remember_process() {
    printf '%s %s\n' "$2" "$(start_time "$2")" >>"$1/processes"
}

# start_remembered DIR LOG COMMAND...: starts a process in the background, away from our
# terminal and its signals, with its output at the end of the file LOG; remembers it. Its id is
# in $!.
start_remembered() {
    local dir=$1 log=$2
    shift 2
    setsid "$@" </dev/null >>"$log" 2>&1 &
    remember_process "$dir" $!
}

# end_remembered DIR: ends what remember_process noted, the latest first, except ourselves.
end_remembered() {
    local pid started
    [[ -f $1/processes ]] || return 0
    while read -r pid started; do
        if [[ $pid != "$BASHPID" && -n $started && $(start_time "$pid") == "$started" ]]; then
            end_process "$pid"
        fi
    done < <(tac "$1/processes")
    rm -f "$1/processes"
}

# end_with DIR OWNER: ends what belongs to DIR when the process OWNER has ended, as a test that
# crashed cannot end what it started.
end_with() {
    (
        trap '' HUP INT
        while running "$2"; do
            sleep 0.5
        done
        end_remembered "$1"
    ) </dev/null >>"$1/owner.log" 2>&1 &
    remember_process "$1" $!
}

# make_private: makes a folder, named in $private, that ends with this script, together with
# what belongs to it and to the folders in it. A script that fails calls keep_logs before, if it
# has that function.
make_private() {
    private=$(mktemp -d)
    trap end_private EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
}

end_private() {
    local status=$? dir
    trap - EXIT
    for dir in "$private" "$private"/*/; do
        end_remembered "${dir%/}"
    done
    if ((status != 0)) && declare -F keep_logs >/dev/null; then
        keep_logs || true
    fi
    rm -rf "$private"
    exit "$status"
}

# import_environment FILE: exports the variables that a virtual display or sound server wrote.
import_environment() {
    set -a
    # shellcheck source=/dev/null
    source "$1"
    set +a
}
