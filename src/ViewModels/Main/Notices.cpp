#include "ViewModels/Main/Notices.h"

#include <QTimer>

#include <utility>

namespace tessivo {
namespace {

using namespace Qt::StringLiterals;

struct Words {
    QString text; // %1 stands for the detail
    QString icon = u"exclamationmark.triangle"_s;
    QString button = {};
};

// For a musician: what it means for the music, and where there is something to do, what.
Words wordsOf(Notices::Kind kind) {
    switch (kind) {
    case Notices::Kind::saveFailed:
        return {u"The loop was not saved. Save it again."_s};
    case Notices::Kind::loadFailed:
        return {u"The loop could not be loaded."_s};
    case Notices::Kind::libraryUnwritten:
        return {u"The list of loops could not be written. It is tried again."_s};
    case Notices::Kind::libraryUnread:
        return {u"The list of loops was damaged."_s};
    case Notices::Kind::diskFull:
        return {u"The disk is full. Nothing more is recorded."_s};
    case Notices::Kind::takeIncomplete:
        return {u"Part of this take could not be written."_s};
    case Notices::Kind::importFailed:
        return {u"%1"_s};
    case Notices::Kind::importOffered:
        return {u"Import %1 into the library?"_s, u"waveform"_s, u"Import"_s};
    case Notices::Kind::imported:
        return {u"Imported into the library: %1"_s, u"waveform"_s};
    case Notices::Kind::folderNotShown:
        return {u"The folder of takes could not be opened."_s, u"folder.fill"_s};
    case Notices::Kind::noSoundServer:
        return {u"No sound server. Start it, then Tessivo again."_s, u"speaker.slash.fill"_s};
    case Notices::Kind::playFailed:
        return {u"The loop could not be played."_s};
    case Notices::Kind::noDevices:
        return {u"No microphone and no speaker were found."_s, u"speaker.slash.fill"_s};
    case Notices::Kind::soundStopped:
        return {u"No sound arrives: nothing is recorded or heard."_s, u"speaker.slash.fill"_s};
    case Notices::Kind::takeFound:
        return {u"A take that was cut off has been kept."_s, u"waveform"_s, u"Use It"_s};
    case Notices::Kind::noMicrophone:
        return {u"No microphone was found to record from."_s, u"mic.slash"_s};
    case Notices::Kind::recordFailed:
        return {u"The recording could not be started."_s};
    case Notices::Kind::takeHasGap:
        return {u"This take has a gap: some sound was lost."_s};
    case Notices::Kind::diskAlmostFull:
        return {u"Disk almost full: room for %1 of recording."_s};
    case Notices::Kind::controllerWaiting:
        return {u"Controller found: %1"_s, u"cable.connector"_s, u"MIDI Settings"_s};
    case Notices::Kind::soundInterrupted:
        return {u"The sound was interrupted for a moment."_s, u"waveform"_s};
    }
    return {};
}

} // namespace

Notices::Notices(std::chrono::milliseconds eventTime)
    : eventTime_(eventTime) {}

Notices::Line Notices::line() const {
    if (reasons_.empty()) {
        return {};
    }
    const auto& [kind, reason] = *reasons_.begin();
    const Words words = wordsOf(kind);
    return words.text.contains("%1"_L1)
               ? Line{words.text.arg(reason.detail), {}, words.icon, words.button}
               : Line{words.text, reason.detail, words.icon, words.button};
}

void Notices::set(Kind kind, bool holds, const QString& detail) {
    if (holds) {
        reasons_[kind] = {detail.simplified(), ++lastNumber_};
    } else {
        reasons_.erase(kind);
    }
    if (Line now = line(); now != shown_) {
        shown_ = std::move(now);
        emit changed();
    }
}

void Notices::tell(Kind kind, const QString& detail) {
    set(kind, true, detail);
    QTimer::singleShot(eventTime_, this, [this, kind, number = lastNumber_] {
        const auto found = reasons_.find(kind);
        if (found != reasons_.end() && found->second.number == number) {
            set(kind, false);
        }
    });
}

void Notices::press() {
    if (shows(Kind::controllerWaiting)) {
        emit midiSettingsRequested();
    } else if (shows(Kind::takeFound)) {
        emit foundTakeRequested();
    } else if (shows(Kind::importOffered)) {
        emit importRequested();
    }
}

} // namespace tessivo
