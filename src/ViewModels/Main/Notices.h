#pragma once

#include <QObject>
#include <QString>

#include <chrono>
#include <cstdint>
#include <map>

namespace tessivo {

// What the window tells the performer in one quiet line: what is wrong, for as long as it is, and
// what has just happened, for a while. Of several notices the most important one shows. Main thread
// only.
class Notices : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString detail READ detail NOTIFY changed)
    Q_PROPERTY(QString icon READ icon NOTIFY changed)
    Q_PROPERTY(QString button READ button NOTIFY changed)

public:
    // The most important first: what nobody would notice otherwise, and a cause before what follows
    // from it.
    enum class Kind {
        saveFailed,
        loadFailed,
        libraryUnwritten,
        libraryUnread,
        diskFull,
        takeIncomplete,
        importFailed,  // detail: what is to be told
        importOffered, // detail: the files
        imported,      // likewise
        folderNotShown,
        noSoundServer,
        playFailed,
        noDevices,
        soundStopped,
        noMicrophone,
        recordFailed,
        takeFound,
        takeHasGap,
        diskAlmostFull,    // detail: the time that can still be recorded
        controllerWaiting, // detail: its name
        soundInterrupted
    };

    // For how long an event is told.
    explicit Notices(std::chrono::milliseconds eventTime = std::chrono::seconds(10));

    // Of the notice that shows; empty without one. The detail is what the system said and the text
    // does not.
    const QString& text() const { return shown_.text; }
    const QString& detail() const { return shown_.detail; }
    const QString& icon() const { return shown_.icon; } // a symbol of the theme
    const QString& button() const { return shown_.button; }

    // Tells it from now on, or no longer.
    void set(Kind kind, bool holds, const QString& detail = {});
    // Tells it for a while from now on, also if it was set.
    void tell(Kind kind, const QString& detail = {});
    bool has(Kind kind) const { return reasons_.contains(kind); }
    bool shows(Kind kind) const { return !reasons_.empty() && reasons_.begin()->first == kind; }

    // Does what the notice's button says.
    Q_INVOKABLE void press();

signals:
    void changed(); // another notice shows, or none
    void midiSettingsRequested();
    void foundTakeRequested();
    void importRequested();

private:
    struct Reason {
        QString detail;
        std::uint64_t number = 0; // a later telling of the same kind has another one
    };
    struct Line {
        QString text;
        QString detail;
        QString icon;
        QString button;

        bool operator==(const Line&) const = default;
    };

    Line line() const;

    const std::chrono::milliseconds eventTime_;
    std::map<Kind, Reason> reasons_; // the first one shows
    std::uint64_t lastNumber_ = 0;
    Line shown_;
};

} // namespace tessivo
