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
        return {Notices::tr("The loop was not saved. Save it again.")};
    case Notices::Kind::loadFailed:
        return {Notices::tr("The loop could not be loaded.")};
    case Notices::Kind::libraryUnwritten:
        return {Notices::tr("The list of loops could not be written. It is tried again.")};
    case Notices::Kind::libraryUnread:
        return {Notices::tr("The list of loops was damaged.")};
    case Notices::Kind::diskFull:
        return {Notices::tr("The disk is full. Nothing more is recorded.")};
    case Notices::Kind::takeIncomplete:
        return {Notices::tr("Part of this take could not be written.")};
    case Notices::Kind::importFailed:
        return {u"%1"_s};
    case Notices::Kind::importOffered:
        return {Notices::tr("Import %1 into the library?"), u"waveform"_s, Notices::tr("Import")};
    case Notices::Kind::imported:
        return {Notices::tr("Imported into the library: %1"), u"waveform"_s};
    case Notices::Kind::folderNotShown:
        return {Notices::tr("The folder of takes could not be opened."), u"folder.fill"_s};
    case Notices::Kind::noSoundServer:
        return {Notices::tr("No sound server. Start it, then Tessivo again."),
                u"speaker.slash.fill"_s};
    case Notices::Kind::playFailed:
        return {Notices::tr("The loop could not be played.")};
    case Notices::Kind::noDevices:
        return {Notices::tr("No microphone and no speaker were found."), u"speaker.slash.fill"_s};
    case Notices::Kind::soundStopped:
        return {Notices::tr("No sound arrives: nothing is recorded or heard."),
                u"speaker.slash.fill"_s};
    case Notices::Kind::takeFound:
        return {Notices::tr("A take that was cut off has been kept."), u"waveform"_s,
                Notices::tr("Use It")};
    case Notices::Kind::noMicrophone:
        return {Notices::tr("No microphone was found to record from."), u"mic.slash"_s};
    case Notices::Kind::recordFailed:
        return {Notices::tr("The recording could not be started.")};
    case Notices::Kind::takeHasGap:
        return {Notices::tr("This take has a gap: some sound was lost.")};
    case Notices::Kind::diskAlmostFull:
        return {Notices::tr("Disk almost full: room for %1 of recording.")};
    case Notices::Kind::controllerWaiting:
        return {Notices::tr("Controller found: %1"), u"cable.connector"_s,
                Notices::tr("MIDI Settings")};
    case Notices::Kind::soundInterrupted:
        return {Notices::tr("The sound was interrupted for a moment."), u"waveform"_s};
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
