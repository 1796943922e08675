#!/usr/bin/env bash
# Writes a standard MIDI file.
#
#   scripts/midi-song.sh FILE MILLISECONDS:NOTE...
#
# Each note-on comes that long after the one before it, at most 16 seconds; half a minute of
# silence follows the last one.
set -euo pipefail

# delay MILLISECONDS: a delta time of two bytes with seven bits each; the eighth bit says that
# another byte follows. A millisecond is a tick.
delay() {
    printf '\\x%02x\\x%02x' $(($1 >> 7 | 128)) $(($1 & 127))
}

# length BYTES: as two bytes.
length() {
    printf '\\x%02x\\x%02x' $(($1 >> 8)) $(($1 & 255))
}

file=$1
track='\x00\xff\x51\x03\x0f\x42\x40' # tempo: a beat a second
for event in "${@:2}"; do
    track+=$(delay "${event%:*}")$(printf '\\x90\\x%02x\\x64' "${event#*:}")
done
# The silence is longer than one delay can be: an empty text, then the end of the track.
track+="$(delay 15000)\xff\x01\x00$(delay 15000)\xff\x2f\x00"

# The header: format 0, one track, a thousand ticks a beat. Four characters are a byte.
printf '%b' 'MThd\x00\x00\x00\x06\x00\x00\x00\x01\x03\xe8' \
    'MTrk\x00\x00' "$(length $((${#track} / 4)))" "$track" >"$file"
