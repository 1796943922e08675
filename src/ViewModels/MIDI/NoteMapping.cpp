#include "ViewModels/MIDI/NoteMapping.h"

#include "Utils/MIDIUtils.h"

namespace tessivo {

NoteMapping::NoteMapping(TransportAction action, QObject* parent)
    : QObject(parent)
    , action_(action) {}

QString NoteMapping::label() const {
    switch (action_) {
    case TransportAction::record:
        return tr("Record");
    case TransportAction::play:
        return tr("Play");
    case TransportAction::stop:
        return tr("Stop");
    case TransportAction::clear:
        return tr("Clear");
    }
    return {};
}

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
