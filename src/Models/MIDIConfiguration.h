#pragma once

#include "Models/TransportAction.h"

#include <cstdint>
#include <optional>

namespace tessivo {

// The MIDI note of each transport command. Every number from 0 to 255 is accepted, and several
// commands may share a note.
struct MIDIConfiguration {
    std::uint8_t recordNote = 80;
    std::uint8_t playNote = 0;
    std::uint8_t stopNote = 1;
    std::uint8_t clearNote = 2;

    // If commands share the note: the first in the order record, play, stop, clear.
    std::optional<TransportAction> actionForNote(std::uint8_t note) const;

    std::uint8_t noteForAction(TransportAction action) const;
    void setNoteForAction(TransportAction action, std::uint8_t note);

    // Writes the mapping to the user's preferences. A failure gives a diagnostic line and leaves
    // the stored mapping as it was.
    void save() const;
    // The stored mapping, or the default one if there is none or it cannot be read.
    static MIDIConfiguration load();

    friend bool operator==(const MIDIConfiguration&, const MIDIConfiguration&) = default;
};

} // namespace tessivo
