#pragma once

#include <QString>

#include <cstdint>
#include <vector>

namespace tessivo {

namespace midi {
class MidiSystem;
}

// A MIDI source that can be connected.
struct MIDISource {
    QString name;
    std::uint32_t source; // the MIDI system's reference of it

    friend bool operator==(const MIDISource&, const MIDISource&) = default;
};

namespace MIDIUtils {

// The sources present now that have a name, in the system's order. Main thread.
std::vector<MIDISource> getAvailableMIDISources(midi::MidiSystem& system);

// Pitch class, with sharps, and octave: "C4" for 60. Notes above 127 follow the same rule.
QString midiNoteToName(std::uint8_t note);

} // namespace MIDIUtils

} // namespace tessivo
