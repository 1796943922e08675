#include "Utils/MIDIUtils.h"

#include "Platform/Midi/MidiSystem.h"

#include <array>

namespace tessivo::MIDIUtils {

std::vector<MIDISource> getAvailableMIDISources() {
    return getAvailableMIDISources(*midi::MidiSystem::shared());
}

std::vector<MIDISource> getAvailableMIDISources(midi::MidiSystem& system) {
    std::vector<MIDISource> sources;
    const std::size_t count = system.sourceCount();
    for (std::size_t index = 0; index < count; ++index) {
        const midi::EndpointRef source = system.source(index);
        if (const auto name = system.displayName(source)) {
            sources.push_back({QString::fromStdString(*name), source});
        }
    }
    return sources;
}

QString midiNoteToName(std::uint8_t note) {
    static constexpr std::array kPitchClasses{"C",  "C#", "D",  "D#", "E",  "F",
                                              "F#", "G",  "G#", "A",  "A#", "B"};
    return QLatin1StringView(kPitchClasses.at(note % kPitchClasses.size())) +
           QString::number(note / 12 - 1);
}

} // namespace tessivo::MIDIUtils
