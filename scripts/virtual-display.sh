#!/usr/bin/env bash
# A display without a screen, with a window manager.
#
#   scripts/virtual-display.sh start DIR [--size WIDTHxHEIGHT] [--owner PID]
#   scripts/virtual-display.sh stop DIR
#
# start returns when windows can be opened; DIR/environment then holds DISPLAY=. Nothing is
# printed but errors. stop ends what start began and leaves the logs in DIR; with an owner, the
# end of that process does the same.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# The server writes the number, and the end of the line, once it can be used.
display_named() {
    [[ -n $(sed -n 1p "$dir/number") ]] || ! running "$server"
}

window_manager_runs() {
    xprop -display "$display" -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'
}

start() {
    local size=1280x800 owner=
    while (($# > 1)); do
        case $1 in
            --size) size=$2 ;;
            --owner) owner=$2 ;;
            *) usage ;;
        esac
        shift 2
    done
    (($# == 0)) || usage
    mkdir -p "$dir"
    [[ ! -e $dir/processes ]] || fail "a display is already running in $dir"
    trap 'end_remembered "$dir"' EXIT

    # The server itself takes the first number that is free, so that two never meet.
    : >"$dir/number"
    start_remembered "$dir" "$dir/display.log" \
        Xvfb -displayfd 3 -screen 0 "${size}x24" -dpi 96 -nolisten tcp -noreset 3>"$dir/number"
    server=$!
    wait_until 30 display_named || fail "the display did not start within 30 s, see $dir/display.log"
    running "$server" || fail "the display ended: $(tail -n 3 "$dir/display.log")"
    display=:$(<"$dir/number")

    DISPLAY=$display start_remembered "$dir" "$dir/window-manager.log" openbox --sm-disable
    wait_until 30 window_manager_runs ||
        fail "the window manager did not start within 30 s, see $dir/window-manager.log"
    [[ -z $owner ]] || end_with "$dir" "$owner"
    printf 'DISPLAY=%s\n' "$display" >"$dir/environment"
    trap - EXIT
}

usage() {
    fail "usage: virtual-display.sh start DIR [--size WIDTHxHEIGHT] [--owner PID] | stop DIR"
}

(($# >= 2)) || usage
dir=$2
case $1 in
    start) start "${@:3}" ;;
    stop) end_remembered "$dir" ;;
    *) usage ;;
esac
