#!/usr/bin/env bash
# Writes a standard MIDI file.
#
#   scripts/midi-song.sh FILE MILLISECONDS[:NOTE]...
#
# Each note-on, or rest where there is no note, comes that long after the one before it, at most
# 16 seconds; the song ends with the last one.
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
    track+=$(delay "${event%:*}")
    case $event in
        *:*) track+=$(printf '\\x90\\x%02x\\x64' "${event#*:}") ;;
        *) track+='\xff\x01\x00' ;; # an empty text
    esac
done
track+='\x00\xff\x2f\x00' # the end of the track

# The header: format 0, one track, a thousand ticks a beat. Four characters are a byte.
printf '%b' 'MThd\x00\x00\x00\x06\x00\x00\x00\x01\x03\xe8' \
    'MTrk\x00\x00' "$(length $((${#track} / 4)))" "$track" >"$file"
