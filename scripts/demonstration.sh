#!/usr/bin/env bash
# Plays Tessivo as a performer would, on a virtual display with a private sound server, from the
# first note to the library of another day. Checks what came of it and leaves it in demo/.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

demo=$TESSIVO_ROOT/demo

keep_logs() {
    find "$private" -name '*.log' -exec cp {} "$demo/" \;
    say "What the programs said is in $demo/*.log" >&2
}

log_has() {
    grep -qF -- "$1" "$demo/tessivo.log"
}

# await_line TEXT: the application writes a line with that text, and still runs.
await_line() {
    wait_until 10 log_has "$1" || fail "Tessivo did not say \"$1\", see $demo/tessivo.log"
    running "$tessivo" || fail "Tessivo ended by itself, see $demo/tessivo.log"
}

# start_application LOG
start_application() {
    start_remembered "$private" "$1" "$TESSIVO_ROOT/build/release/tessivo"
    tessivo=$!
    wait_until 20 window_shown || fail "no window appeared, see $1"
    sleep 1
}

window_shown() {
    window=$(xdotool search --onlyvisible --class tessivo 2>/dev/null | head -n 1)
    [[ -n $window ]]
}

# sheet_shown TITLE
sheet_shown() {
    sheet=$(xdotool search --onlyvisible --name "^$1" 2>/dev/null | head -n 1)
    [[ -n $sheet ]]
}

sheet_gone() {
    ! sheet_shown "$1"
}

controller_shown() {
    pw-link -o | grep -q '^keys:'
}

press() {
    xdotool windowfocus --sync "$window" key "$1"
}

# The last item of the toolbar, at its right end.
click_gear() {
    local WIDTH
    eval "$(xdotool getwindowgeometry --shell "$window" | grep '^WIDTH=')"
    xdotool mousemove --window "$window" $((WIDTH - 24)) 24 click 1
}

# screenshot NAME [WINDOW]
screenshot() {
    import -window "${2:-$window}" "$demo/$1.png" || fail "no picture could be taken of the window"
}

seconds_of() {
    soxi -D "$1" 2>/dev/null
}

loudness_of() {
    sox -V1 "$1" -n stat 2>&1 | awk '/^RMS +amplitude/ { print $3 }'
}

# within VALUE LOW HIGH
within() {
    awk -v value="$1" -v low="$2" -v high="$3" \
        'BEGIN { exit !(value ~ /^[0-9.]+$/ && value >= low && value <= high) }'
}

# check_library FOLDER TAKE: the library lists one loop, whose file equals the take.
check_library() {
    local files
    mapfile -t files < <(grep -oE '"filename":"([^"\\]|\\.)*"' "$1/library.json")
    ((${#files[@]} == 1)) || fail "the library lists ${#files[@]} loops, not one"
    files[0]=${files[0]#'"filename":"'}
    cmp "$1/${files[0]%'"'}" "$2" || fail "the saved loop is not the take"
}

# A display, a sound server and a home of our own.
start_virtual_desktop() {
    scripts/virtual-sound.sh start "$private/sound" --quantum 256 --owner $$ ||
        fail "the private sound server did not start"
    scripts/virtual-sound.sh play-riff "$private/sound"
    import_environment "$private/sound/environment"
    scripts/virtual-display.sh start "$private/display" --owner $$ ||
        fail "the virtual display did not start"
    import_environment "$private/display/environment"

    mkdir -p "$private/home/Documents" "$private/home/.config"
    printf 'XDG_DOCUMENTS_DIR="%s"\n' "$private/home/Documents" >"$private/home/.config/user-dirs.dirs"
    unset WAYLAND_DISPLAY XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME
    export HOME=$private/home QT_QPA_PLATFORM=xcb
}

record_and_loop() {
    local recorder take

    start_remembered "$private" "$private/recorder.log" pw-record --target speaker \
        -P '{ stream.capture.sink = true }' --rate 48000 --channels 2 --format f32 \
        "$private/heard.wav"
    recorder=$!

    # A controller, which begins to play when Tessivo listens to it: the note that records, and
    # when the loop has been heard, the one that stops.
    scripts/midi-song.sh "$private/song.mid" 3000:80 13500:1 15000 15000
    start_remembered "$private" "$private/keys.log" \
        pw-cat -p --midi --target 0 -P '{ node.name = keys }' "$private/song.mid"
    wait_until 10 controller_shown || fail "the MIDI controller did not appear"

    say "Starting Tessivo ..."
    start_application "$demo/tessivo.log"
    screenshot 1-ready

    say "A note of the MIDI controller: recording about four seconds of the riff ..."
    await_line "MIDI triggered: Record"
    sleep 2
    screenshot 2-recording
    sleep 1.9

    say "Return: the take plays as a loop ..."
    press Return
    await_line "Playback started"
    sleep 4
    screenshot 3-looping

    say "Another note: stop."
    await_line "MIDI triggered: Stop"
    sleep 1
    screenshot 4-stopped

    say "A click on the gear: the MIDI settings."
    click_gear
    wait_until 10 sheet_shown "MIDI Settings" || fail "the MIDI settings did not show"
    sleep 1
    screenshot 5-midi-settings "$sheet"
    xdotool windowfocus --sync "$sheet" key Escape
    wait_until 10 sheet_gone "MIDI Settings" || fail "the MIDI settings did not close"

    say "Ctrl+S, Return: the take goes into the library."
    save_loop riff
    screenshot 6-saving "$sheet"
    finish_saving
    end_process "$recorder"
    take=$(find "$HOME/Documents/LooperFiles" -name 'loop_*.wav' -print -quit 2>/dev/null || true)
    [[ -n $take ]] || fail "Tessivo left no take"
    cp "$take" "$demo/take.wav"
}

# save_loop NAME: as far as the sheet with that name in it.
save_loop() {
    press ctrl+s
    wait_until 10 sheet_shown "Save Loop" || fail "no sheet asked for the loop's name"
    xdotool windowfocus --sync "$sheet" type "$1"
    sleep 1
}

finish_saving() {
    xdotool windowfocus --sync "$sheet" key Return
    await_line "Successfully saved loop: "
    wait_until 10 sheet_gone "Save Loop" || fail "the sheet did not close after the save"
}

# close_window: and end Tessivo thereby.
close_window() {
    xdotool windowfocus --sync "$window" key alt+F4
    wait_until 10 not_running "$tessivo" || fail "Tessivo did not end when its window was closed"
    wait "$tessivo" || fail "Tessivo ended with status $?, see $demo/tessivo.log"
}

# await_new_line TEXT: once more than it was said before.
await_new_line() {
    said=$(grep -c "$1" "$demo/tessivo.log" || true)
    "${@:2}"
    wait_until 10 said_again "$1" || fail "Tessivo did not say '$1', see $demo/tessivo.log"
}

said_again() {
    (($(grep -c "$1" "$demo/tessivo.log") > said))
}

in_library() {
    xdotool windowfocus --sync "$library" "$@"
    sleep 0.4
}

open_library() {
    press ctrl+o
    wait_until 10 sheet_shown "Loop Library" || fail "the library did not show"
    library=$sheet
    sleep 1
}

keep_a_second_loop() {
    say "A second take of two seconds, and into the library with it."
    await_new_line "Loop cleared" press ctrl+BackSpace
    await_new_line "Recording started successfully" press Return
    sleep 2
    await_new_line "Final recording URL" press space
    save_loop bass
    finish_saving
}

walk_through_the_library() {
    local order
    say "Ctrl+O: the library, searched and in each of its six orders."
    open_library
    screenshot 7-library "$library"
    in_library type "ri"
    screenshot 8-search "$library"
    in_library key ctrl+a BackSpace
    for order in 1 2 3 4 5 0; do
        in_library key ctrl+f Tab space
        ((order != 1)) || screenshot 9-orders "$library"
        in_library key --repeat 5 Up
        ((order == 0)) || in_library key --repeat "$order" Down
        in_library key Return
    done

    say "The older loop: Space to hear it, F2 for another name, the menu to export it."
    in_library key ctrl+f Down End
    await_new_line "Started previewing: riff" in_library key space
    screenshot 10-preview "$library"
    await_new_line "Preview completed" sleep 3
    in_library key F2
    in_library type "chorus"
    screenshot 11-rename "$library"
    in_library key Return
    sleep 1
    in_library key shift+F10
    screenshot 12-menu "$library"
    in_library key Down Down Down Return
    wait_until 10 sheet_shown "Export Loop" || fail "nobody asked where to export to"
    sleep 1
    screenshot 13-export "$sheet"
    xdotool windowfocus --sync "$sheet" type "exported"
    xdotool windowfocus --sync "$sheet" key Return
    wait_until 10 sheet_gone "Export Loop" || fail "the export did not end"
    wait_until 10 test -f "$HOME/Documents/exported.wav" || fail "nothing was exported"
    cp "$HOME/Documents/exported.wav" "$demo/"

    say "Return: it is loaded, and Space plays it."
    sleep 1 # a Return at once would still be the panel's
    in_library key Return
    wait_until 10 sheet_gone "Loop Library" || fail "the library did not close after the load"
    await_new_line "Playback started" press space
    sleep 2
    await_new_line "Playback stopped" press space

    say "Delete: the other loop goes."
    open_library
    in_library key Down Delete
    screenshot 14-delete "$library"
    in_library key Tab Return
    sleep 1
    in_library key Escape
    wait_until 10 sheet_gone "Loop Library" || fail "the library did not close"
    close_window
}

come_back() {
    say "Started again: everything is as it was left."
    start_application "$demo/tessivo-again.log"
    open_library
    screenshot 15-found-again "$library"
    in_library key Escape
    wait_until 10 sheet_gone "Loop Library" || fail "the library did not close"
    close_window
}

check_demonstration() {
    local seconds heard
    seconds=$(seconds_of "$demo/take.wav")
    within "$seconds" 3.5 5 || fail "the take is $seconds s long, not about 4 s"
    within "$(loudness_of "$demo/take.wav")" 0.01 1 || fail "the take is silent"

    cp -r "$HOME/Documents/SavedLoops" "$demo/" || fail "there is no folder of saved loops"
    check_library "$demo/SavedLoops" "$demo/take.wav"
    grep -q '"name":"chorus"' "$demo/SavedLoops/library.json" || fail "the loop was not renamed"
    cmp "$demo/exported.wav" "$demo/take.wav" || fail "the exported loop is not the take"

    # What was heard, without the silence before and after it.
    sox -V1 "$private/heard.wav" "$demo/speaker.wav" \
        silence 1 0.1 0.5% reverse silence 1 0.1 0.5% reverse ||
        fail "the recording of the speaker cannot be read"
    heard=$(seconds_of "$demo/speaker.wav")
    within "$heard" 8 11 || fail "the loop was heard for $heard s, not for about 9 s"
    within "$(loudness_of "$demo/speaker.wav")" 0.01 1 || fail "the loop was not heard"

    say ""
    say "Tessivo recorded $seconds s and looped them for $heard s. In $demo:"
    say "  take.wav      the take, as Tessivo wrote it"
    say "  speaker.wav   what came out of the speaker"
    say "  SavedLoops/   the library: the take under its new name, and the list of loops"
    say "  exported.wav  the same, exported"
    say "  *.png         every window on the way"
    say "  *.log         what Tessivo said meanwhile"
}

rm -rf "$demo"
mkdir "$demo"
make_private
start_virtual_desktop
record_and_loop
keep_a_second_loop
walk_through_the_library
come_back
check_demonstration
