#!/usr/bin/env bash
# A private sound server with a virtual speaker and a virtual microphone, for tests and
# demonstrations. Everything lives in one folder; no sound server of the desktop is touched.
set -euo pipefail

usage() {
    cat >&2 <<'TEXT'
usage: virtual-sound.sh start DIR [options]   start, return when the devices are the defaults
       virtual-sound.sh stop DIR              end everything that start began
       virtual-sound.sh kill-server DIR       end the server at once, as a crash would
       virtual-sound.sh restart-server DIR    start the server again and wait for the devices
       virtual-sound.sh create DIR NAME CLASS RATE POSITIONS
                                              make a device (CLASS: Audio/Sink, Audio/Source/Virtual)
       virtual-sound.sh destroy DIR NAME      remove a device
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

fail() {
    echo "virtual-sound: $*" >&2
    exit 1
}

# Runs a command in the environment of the private server.
inside() {
    (become "$@")
}

# The same in place of this shell, so that the command has the shell's process id.
become() {
    exec env -u PIPEWIRE_REMOTE -u PIPEWIRE_LATENCY -u PIPEWIRE_NODE -u PIPEWIRE_PROPS \
        HOME="$dir/home" XDG_RUNTIME_DIR="$dir" PIPEWIRE_RUNTIME_DIR="$dir" \
        XDG_CONFIG_HOME="$dir/config" XDG_STATE_HOME="$dir/state" XDG_CACHE_HOME="$dir/cache" \
        DBUS_SESSION_BUS_ADDRESS="unix:path=$dir/bus" "$@"
}

# Starts a daemon with its output in DIR/NAME.log and its process id in DIR/NAME.pid.
launch() {
    local name=$1
    shift
    become setsid "$@" </dev/null >>"$dir/$name.log" 2>&1 &
    echo $! >"$dir/$name.pid"
    disown
}

# True while the process named in DIR/NAME.pid is alive and not a zombie.
alive() {
    local id
    id=$(cat "$dir/$1.pid" 2>/dev/null) || return 1
    [[ -r /proc/$id/stat ]] && ! grep -q '^State:[[:space:]]*Z' "/proc/$id/status" 2>/dev/null
}

# Ends the process named in DIR/NAME.pid with that signal, and insists after two seconds.
end() {
    local name=$1 signal=$2 attempt id
    # The follower removes its own file when it is quicker than we are.
    if alive "$name" && id=$(cat "$dir/$name.pid" 2>/dev/null); then
        kill -CONT "$id" 2>/dev/null || true
        kill -"$signal" "$id" 2>/dev/null || true
        for ((attempt = 0; attempt < 100; ++attempt)); do
            alive "$name" || break
            sleep 0.02
        done
        alive "$name" && kill -KILL "$id" 2>/dev/null
    fi
    rm -f "$dir/$name.pid"
}

# Calls a test every 20 ms until it holds; fails after ten seconds.
await() {
    local what=$1 attempt
    shift
    for ((attempt = 0; attempt < 500; ++attempt)); do
        "$@" && return 0
        sleep 0.02
    done
    fail "$what did not appear within ten seconds, see $dir/*.log"
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
  node.name = "$name" node.description = "$name" media.class = "$class"
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

    if alive pipewire; then
        fail "a server already runs in $dir"
    fi
    chmod 700 "$dir"
    configure
    rm -f "$dir/bus"
    launch dbus dbus-daemon --session --nofork --nopidfile --address="unix:path=$dir/bus"
    await "the message bus" test -S "$dir/bus"
    trap stop EXIT
    start_server
    trap - EXIT
    if [[ -n $owner ]]; then
        # A test that crashes cannot stop what it started.
        launch owner "$0" follow "$dir" "$owner"
    fi
}

stop() {
    local name
    for name in wireplumber pipewire dbus; do
        end "$name" TERM
    done
    # Last: the follower itself may be what stops us.
    if [[ ${following:-no} == no ]]; then
        end owner TERM
    fi
}

follow() {
    while kill -0 "$1" 2>/dev/null && alive dbus; do
        sleep 0.5
    done
    following=yes
    stop
    rm -f "$dir/owner.pid"
}

kill_server() {
    end pipewire KILL
    end wireplumber TERM
}

create() {
    local answer
    answer=$(inside timeout 5 pw-cli create-node adapter "$(device "$@")" 2>&1) || fail "$answer"
    [[ $answer != *Error* ]] || fail "$answer"
}

(($# >= 2)) || usage
command=$1
mkdir -p "$2"
dir=$(cd "$2" && pwd)
shift 2
case $command in
    start) start "$@" ;;
    stop) stop ;;
    kill-server) kill_server ;;
    restart-server) start_server ;;
    create) (($# == 4)) || usage && create "$@" ;;
    destroy) (($# == 1)) || usage && inside timeout 5 pw-cli destroy "$1" >/dev/null ;;
    follow) follow "$1" ;;
    *) usage ;;
esac
