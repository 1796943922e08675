#pragma once

#include "Models/TransportAction.h"

#include <cstdint>
#include <optional>

namespace tessivo {

// Which MIDI note gives which transport command. A plain value; every note from 0 to 255 is
// accepted, and one note may stand for several commands.
struct MIDIConfiguration {
    std::uint8_t recordNote = 80;
    std::uint8_t playNote = 0;
    std::uint8_t stopNote = 1;
    std::uint8_t clearNote = 2;

    // Where notes coincide, the first command in the order record, play, stop, clear.
    std::optional<TransportAction> actionForNote(std::uint8_t note) const;

    std::uint8_t noteForAction(TransportAction action) const;
    void setNoteForAction(TransportAction action, std::uint8_t note);

    // Writes it to the user's preferences. A failure is a diagnostic line, and the stored
    // mapping is then the old one.
    void save() const;
    // The stored mapping, or the one above when there is none that can be read.
    static MIDIConfiguration load();

    friend bool operator==(const MIDIConfiguration&, const MIDIConfiguration&) = default;
};

} // namespace tessivo
