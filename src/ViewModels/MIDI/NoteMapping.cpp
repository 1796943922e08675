#include "ViewModels/MIDI/NoteMapping.h"

#include "Utils/MIDIUtils.h"

namespace tessivo {

NoteMapping::NoteMapping(TransportAction action, QObject* parent)
    : QObject(parent)
    , action_(action) {}

QString NoteMapping::noteName() const {
    return MIDIUtils::midiNoteToName(shown_.note);
}

void NoteMapping::show(const Shown& shown) {
    if (shown != shown_) {
        shown_ = shown;
        emit changed();
    }
}

} // namespace tessivo
