#!/usr/bin/env bash
# A display without a screen, with a window manager.
#
#   scripts/virtual-display.sh start DIR [--size WIDTHxHEIGHT]
#   scripts/virtual-display.sh stop DIR
#
# start returns when windows can be opened; DIR/environment then holds DISPLAY=. Nothing is
# printed but errors. stop ends what start began and leaves the logs in DIR.
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
    local size=1280x800
    [[ ${1:-} != --size ]] || size=${2:?--size needs WIDTHxHEIGHT}
    mkdir -p "$dir"
    [[ ! -e $dir/processes ]] || fail "a display is already running in $dir"
    trap 'end_remembered "$dir"' ERR EXIT

    # The server itself takes the first number that is free, so that two never meet.
    : >"$dir/number"
    start_remembered "$dir" display \
        Xvfb -displayfd 3 -screen 0 "${size}x24" -dpi 96 -nolisten tcp -noreset 3>"$dir/number"
    server=$!
    wait_until 20 display_named || fail "the display did not start within 20 s, see $dir/display.log"
    display=:$(<"$dir/number")
    running "$server" || fail "the display ended: $(tail -n 3 "$dir/display.log")"

    DISPLAY=$display start_remembered "$dir" window-manager openbox --sm-disable
    wait_until 20 window_manager_runs ||
        fail "the window manager did not start within 20 s, see $dir/window-manager.log"
    printf 'DISPLAY=%s\n' "$display" >"$dir/environment"
    trap - ERR EXIT
}

dir=${2:?usage: virtual-display.sh start|stop DIR}
case $1 in
start) start "${@:3}" ;;
stop) end_remembered "$dir" ;;
*) fail "usage: virtual-display.sh start|stop DIR" ;;
esac
