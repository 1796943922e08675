#include "Utils/MIDIUtils.h"

#include "Platform/Midi/MidiSystem.h"

#include <array>

namespace tessivo::MIDIUtils {

std::vector<MIDISource> getAvailableMIDISources(midi::MidiSystem& system) {
    std::vector<MIDISource> named;
    for (const midi::Source& source : system.sources()) {
        if (source.name) {
            named.push_back({QString::fromStdString(*source.name), source.reference});
        }
    }
    return named;
}

QString midiNoteToName(std::uint8_t note) {
    static constexpr std::array kPitchClasses{"C",  "C#", "D",  "D#", "E",  "F",
                                              "F#", "G",  "G#", "A",  "A#", "B"};
    return QLatin1StringView(kPitchClasses.at(note % kPitchClasses.size())) +
           QString::number(note / 12 - 1);
}

} // namespace tessivo::MIDIUtils
