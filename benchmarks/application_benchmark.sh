#!/usr/bin/env bash
# What the application costs: from its start to its first frame, resident memory after five
# seconds, and processor time while it does nothing, with silence on its microphone. It runs on
# a display and a sound server of its own, beside it an empty window for comparison.
#
#   benchmarks/application_benchmark.sh [STARTS [IDLE-SECONDS [BUILD-FOLDER]]]
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/lib.sh"
cd "$TESSIVO_ROOT"

starts=${1:-9}
idle=${2:-20}
build=${3:-build/release}
make_private

# Milliseconds from just before the start of the process PROGRAM to the end of its first frame,
# which the toolkit's own log tells with the time of day.
start_measured() {
    local log=$private/$1.log begin drawn
    : >"$log"
    begin=$(date +%s%3N)
    start_remembered "$private" "$log" env HOME="$private/home" QT_QPA_PLATFORM=xcb TZ=UTC \
        QT_LOGGING_RULES='qt.scenegraph.time.renderloop=true' QT_FORCE_STDERR_LOGGING=1 \
        QT_MESSAGE_PATTERN='frame-at %{time yyyy-MM-ddTHH:mm:ss.zzz} %{message}' "$build/$1"
    process=$!
    wait_until 10 frame_drawn "$log" || fail "$1 drew no frame: $(tail -n 5 "$log")"
    drawn=$(awk '/^frame-at .*rendered/ { print $2; exit }' "$log")
    first_frame=$(($(date -u -d "$drawn" +%s%3N) - begin))
}

frame_drawn() {
    grep -q '^frame-at .*rendered' "$1"
}

# Kilobytes of a field of the process's memory.
memory_of() {
    awk -v field="$1:" '$1 == field { print $2 }' "/proc/$process/smaps_rollup"
}

# Hundredths of a second of processor time of all threads so far.
processor_time() {
    stat_of "$process" | awk '{ print $12 + $13 }'
}

megabytes() {
    awk -v kilobytes="$1" 'BEGIN { printf "%.1f MB", kilobytes * 1024 / 1e6 }'
}

# measure PROGRAM RENDERER
measure() {
    local round before rss pss share
    local -a frames=() sorted
    for ((round = 0; round < starts; ++round)); do
        start_measured "$1"
        frames+=("$first_frame")
        ((round == starts - 1)) || end_process "$process"
    done
    sleep 5
    [[ $1 != tessivo ]] || grep -q 'Audio engine started successfully' "$private/$1.log" ||
        fail "without sound the figures would be worthless: $(tail -n 5 "$private/$1.log")"
    rss=$(memory_of Rss)
    pss=$(memory_of Pss)
    before=$(processor_time)
    sleep "$idle"
    share=$(awk -v ticks=$(($(processor_time) - before)) -v seconds="$idle" \
        -v rate="$(getconf CLK_TCK)" 'BEGIN { printf "%.2f", 100 * ticks / rate / seconds }')
    running "$process" || fail "$1 ended by itself: $(tail -n 5 "$private/$1.log")"
    end_process "$process"
    mapfile -t sorted < <(printf '%s\n' "${frames[@]}" | sort -n)
    say "$(basename "$1"), $2: first frame median ${sorted[(starts - 1) / 2]} ms, worst" \
        "${sorted[-1]} ms of $starts starts; RSS $(megabytes "$rss"), PSS $(megabytes "$pss");" \
        "idle $share % of a core over $idle s"
}

mkdir -p "$private/home"
scripts/virtual-sound.sh start "$private/sound" --quantum 1024 --owner $$
import_environment "$private/sound/environment"
scripts/virtual-display.sh start "$private/display" --owner $$
import_environment "$private/display/environment"
unset WAYLAND_DISPLAY

say "load of the machine: $(cut -d ' ' -f 1-3 /proc/loadavg)"
for program in tessivo benchmarks/empty_window; do
    mkdir -p "$private/$(dirname "$program")"
    export QT_QUICK_BACKEND=software
    measure "$program" software
    unset QT_QUICK_BACKEND
    measure "$program" llvmpipe
done
