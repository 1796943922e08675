#!/usr/bin/env bash
# Installs what is missing, builds Tessivo and starts it.
#
# Without a sound server it plays to a private one, whose microphone plays a riff. Without
# a display it plays a demonstration on a virtual one and leaves what came of it in demo/.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

application=$TESSIVO_ROOT/build/release/tessivo

have_display() {
    if [[ -n ${WAYLAND_DISPLAY:-} ]]; then
        # A name without a folder is meant in the runtime folder.
        local socket=$WAYLAND_DISPLAY
        [[ $socket == /* ]] || socket=${XDG_RUNTIME_DIR:-}/$socket
        [[ ! -S $socket ]] || return 0
    fi
    [[ -n ${DISPLAY:-} ]] && timeout 5 xdpyinfo >/dev/null 2>&1
}

have_sound() {
    timeout 5 pw-cli info 0 >/dev/null 2>&1
}

build() {
    local configure=(nice cmake --preset release)
    local compile=(nice cmake --build --preset release --target tessivo)
    # A folder that is not configured yet is configured for the application alone, which
    # needs no test tools; one that is keeps what it was configured for.
    [[ -f build/release/CMakeCache.txt ]] ||
        configure+=(-DBUILD_TESTING=OFF -DTESSIVO_BENCHMARKS=OFF)
    mkdir -p build
    say "Building Tessivo (some minutes the first time) ..."
    "${configure[@]}" >build/configure.log 2>&1 ||
        { tail -n 20 build/configure.log >&2 && fail "the build could not be prepared"; }
    if [[ -t 1 ]]; then
        "${compile[@]}" || fail "the build failed"
    else
        "${compile[@]}" >build/compile.log 2>&1 ||
            { tail -n 40 build/compile.log >&2 && fail "the build failed"; }
    fi
}

scripts/packages.sh build run
display=yes sound=yes
have_display || display=no
[[ $display == yes ]] && have_sound || sound=no
[[ $sound == yes ]] || scripts/packages.sh sound
[[ $display == yes ]] || scripts/packages.sh display
build

if [[ $display == no ]]; then
    say "There is no display here: Tessivo plays a demonstration on a virtual one, with a"
    say "private sound server whose microphone plays a riff."
    exec scripts/demonstration.sh
elif [[ $sound == no ]]; then
    say "No sound server answers here: Tessivo starts with a private one. Its microphone plays"
    say "a riff; its speaker cannot be heard."
    make_private
    scripts/virtual-sound.sh start "$private/sound" --quantum 256 --owner $$ ||
        fail "the private sound server did not start"
    scripts/virtual-sound.sh play-riff "$private/sound"
    # Only sound comes from there; the display needs the user's own folders.
    PIPEWIRE_RUNTIME_DIR=$private/sound "$application"
else
    exec "$application"
fi
