#!/usr/bin/env bash
# A private sound server with a virtual speaker and a virtual microphone, for tests and
# demonstrations. Everything lives in one folder; no sound server of the desktop is touched.
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat >&2 <<'TEXT'
usage: virtual-sound.sh start DIR [options]   start, return when the devices are the defaults
       virtual-sound.sh stop DIR              end everything that start began
       virtual-sound.sh kill-server DIR       end the server at once, as a crash would
       virtual-sound.sh restart-server DIR    start the server again and wait for the devices
       virtual-sound.sh restart-session DIR NAME...
                                              end the session manager alone, as a crash would, with
                                              devices that are its own, and start the next one
       virtual-sound.sh create DIR NAME CLASS RATE POSITIONS
                                              make a device (CLASS: Audio/Sink, Audio/Source/Virtual)
       virtual-sound.sh destroy DIR NAME      remove a device
       virtual-sound.sh play-riff DIR         play a riff into the microphone, again and again
options: --quantum N         frames in a cycle (64)
         --rate N            rate of the graph, Hz (48000)
         --allowed-rates L   rates that the graph may switch to, "44100 48000" (none)
         --speaker-position L  channel positions of the speaker, "FL FR" or "FL,FR" (FL FR)
         --mic-rate N        rate of the microphone, Hz (that of the graph)
         --mic-channels N    channels of the microphone (2)
         --mic-position L    their positions (MONO, FL FR or AUX0 AUX1 ...)
         --no-mic            no microphone
         --no-speaker        no speaker
         --owner PID         stop by itself when that process has ended
DIR/environment then holds the variables that a client of this server needs.
TEXT
    exit 2
}

# Runs a command in the environment of the private server.
inside() {
    env "${environment[@]}" "$@"
}

# launch NAME COMMAND...: starts a daemon there, with its output in DIR/NAME.log and its process
# id in DIR/NAME.pid.
launch() {
    start_remembered "$dir" "$dir/$1.log" env "${environment[@]}" "${@:2}"
    echo $! >"$dir/$1.pid"
}

# await WHAT COMMAND...
await() {
    wait_until 30 "${@:2}" || fail "$1 did not appear within 30 seconds, see $dir/*.log"
}

is_default() {
    inside timeout 2 pw-metadata 0 "default.audio.$1" 2>/dev/null | grep -q "\"name\":\"$2\""
}

has_defaults() {
    inside timeout 2 pw-metadata 2>/dev/null | grep -q 'Found "default"'
}

# Prints the properties of a virtual device.
device() {
    local name=$1 class=$2 rate=$3 positions=${4//,/ }
    local -a list
    read -ra list <<<"$positions"
    cat <<TEXT
{ factory.name = support.null-audio-sink
  node.name = "$name" node.description = "Virtual $name" media.class = "$class"
  audio.rate = $rate audio.channels = ${#list[@]} audio.position = [ $positions ]
  monitor.channel-volumes = false object.linger = true }
TEXT
}

# The static devices are part of the configuration, so that a restarted server has them.
configure() {
    local objects=""
    mkdir -p "$dir/config/pipewire/pipewire.conf.d" "$dir/home" "$dir/state" "$dir/cache"
    if [[ $speaker == yes ]]; then
        objects+="{ factory = adapter args = $(device speaker Audio/Sink "$rate" "$speaker_position") }"
    fi
    if [[ $mic == yes ]]; then
        objects+="{ factory = adapter args = $(device mic Audio/Source/Virtual "$mic_rate" "$mic_position") }"
    fi
    cat >"$dir/config/pipewire/pipewire.conf.d/virtual.conf" <<TEXT
context.properties = {
  default.clock.rate = $rate
  default.clock.allowed-rates = [ ${allowed_rates:-$rate} ]
  default.clock.quantum = $quantum
  default.clock.min-quantum = $quantum
  default.clock.max-quantum = $quantum
  vm.overrides = { default.clock.min-quantum = $quantum }
}
context.objects = [ $objects ]
TEXT
    # No hardware: the private server leaves the machine's cards, cameras and radios alone.
    # The radio's part would also ask for a seat manager, and end where there is none.
    mkdir -p "$dir"/config/wireplumber/{main,bluetooth}.lua.d
    cat >"$dir/config/wireplumber/main.lua.d/60-no-hardware.lua" <<TEXT
alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
TEXT
    cat >"$dir/config/wireplumber/bluetooth.lua.d/60-no-hardware.lua" <<TEXT
bluez_monitor.enabled = false
TEXT
    cat >"$dir/settings" <<TEXT
mic=$mic
speaker=$speaker
TEXT
    cat >"$dir/environment" <<TEXT
XDG_RUNTIME_DIR=$dir
PIPEWIRE_RUNTIME_DIR=$dir
DBUS_SESSION_BUS_ADDRESS=unix:path=$dir/bus
TEXT
}

start_server() {
    local mic speaker
    # shellcheck source=/dev/null
    source "$dir/settings"
    rm -f "$dir/pipewire-0" "$dir/pipewire-0.lock"
    launch pipewire pipewire
    await "the sound server" test -S "$dir/pipewire-0"
    launch wireplumber wireplumber
    if [[ $speaker == yes ]]; then
        await "the default speaker" is_default sink speaker
    fi
    if [[ $mic == yes ]]; then
        await "the default microphone" is_default source mic
    fi
    await "the session manager" has_defaults
}

start() {
    local quantum=64 rate=48000 allowed_rates="" speaker_position="FL FR" mic_rate="" mic_channels=2
    local mic_position="" mic=yes speaker=yes owner="" index
    while (($# > 0)); do
        case $1 in
            --quantum) quantum=$2 && shift ;;
            --rate) rate=$2 && shift ;;
            --allowed-rates) allowed_rates=$2 && shift ;;
            --speaker-position) speaker_position=$2 && shift ;;
            --mic-rate) mic_rate=$2 && shift ;;
            --mic-channels) mic_channels=$2 && shift ;;
            --mic-position) mic_position=$2 && shift ;;
            --owner) owner=$2 && shift ;;
            --no-mic) mic=no ;;
            --no-speaker) speaker=no ;;
            *) usage ;;
        esac
        shift
    done
    mic_rate=${mic_rate:-$rate}
    if [[ -z $mic_position ]]; then
        case $mic_channels in
            1) mic_position="MONO" ;;
            2) mic_position="FL FR" ;;
            *) for ((index = 0; index < mic_channels; ++index)); do mic_position+="AUX$index "; done ;;
        esac
    fi

    [[ ! -e $dir/processes ]] || fail "a server already runs in $dir"
    trap 'end_remembered "$dir"' EXIT
    chmod 700 "$dir"
    configure
    rm -f "$dir/bus"
    launch dbus dbus-daemon --session --nofork --nopidfile --address="unix:path=$dir/bus"
    await "the message bus" test -S "$dir/bus"
    start_server
    [[ -z $owner ]] || end_with "$dir" "$owner"
    trap - EXIT
}

kill_server() {
    local server
    server=$(<"$dir/pipewire.pid")
    kill -KILL "$server" 2>/dev/null || true
    wait_until 30 not_running "$server" || fail "the server does not end"
    end_process "$(<"$dir/wireplumber.pid")"
}

restart_session() {
    local manager name
    manager=$(<"$dir/wireplumber.pid")
    kill -KILL "$manager" 2>/dev/null || true
    wait_until 30 not_running "$manager" || fail "the session manager does not end"
    for name in "$@"; do
        destroy "$name"
    done
    launch wireplumber wireplumber
    await "the session manager" has_defaults
}

destroy() {
    inside timeout 5 pw-cli destroy "$1" >/dev/null
}

create() {
    local answer
    answer=$(inside timeout 5 pw-cli create-node adapter "$(device "$@")" 2>&1) || fail "$answer"
    [[ $answer != *Error* ]] || fail "$answer"
}

# A two-second riff of plucked strings, without end and without a gap.
play_riff() {
    local semitones
    # Offsets from A4, an eighth note each at 120 beats a minute.
    for semitones in -36 -29 -24 -26 -21 -24 -29 -31; do
        sox -R -n -r 48000 -c 2 -t f32 - synth 0.25 pluck "%$semitones" gain -3 fade 0.002 0 0.01
    done | sox -t f32 -r 48000 -c 2 - -e float -b 32 "$dir/riff.wav"
    mkfifo "$dir/riff"
    launch riff pw-cat -p --target 0 -P '{ node.name = riff }' "$dir/riff"
    launch riff-source sox -V1 "$dir/riff.wav" -t au "$dir/riff" repeat -
    wait_until 30 riff_linked || fail "the riff did not reach the virtual microphone"
}

riff_linked() {
    # The first succeeds once both ends are there.
    inside pw-link riff:output_FL mic:input_FL 2>/dev/null &&
        inside pw-link riff:output_FR mic:input_FR
}

(($# >= 2)) || usage
command=$1
mkdir -p "$2"
dir=$(cd "$2" && pwd)
shift 2
environment=(-u PIPEWIRE_REMOTE -u PIPEWIRE_LATENCY -u PIPEWIRE_NODE -u PIPEWIRE_PROPS
    "HOME=$dir/home" "XDG_RUNTIME_DIR=$dir" "PIPEWIRE_RUNTIME_DIR=$dir"
    "XDG_CONFIG_HOME=$dir/config" "XDG_STATE_HOME=$dir/state" "XDG_CACHE_HOME=$dir/cache"
    "DBUS_SESSION_BUS_ADDRESS=unix:path=$dir/bus")
case $command in
    start) start "$@" ;;
    stop) end_remembered "$dir" ;;
    kill-server) kill_server ;;
    restart-server) start_server ;;
    restart-session) restart_session "$@" ;;
    create) (($# == 4)) || usage && create "$@" ;;
    destroy) (($# == 1)) || usage && destroy "$1" ;;
    play-riff) play_riff ;;
    *) usage ;;
esac
