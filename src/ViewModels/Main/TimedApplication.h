#pragma once

#include "Platform/Realtime/Moment.h"

#include <QGuiApplication>

#include <cstdint>
#include <optional>

namespace tessivo {

// The application object. While a key press, a click or a touch is handled, the current
// CommandMoment is the time stamp that the display server gave it. A press finds the windows as the
// one before it left them, also when both came at once.
class TimedApplication : public QGuiApplication {
    Q_OBJECT

public:
    using QGuiApplication::QGuiApplication;

    bool notify(QObject* receiver, QEvent* event) override;

    // The moment that an event's time stamp (ms, of which the lowest 32 bits count, on the
    // monotonic clock) stands for, seen at `now`. Nothing for an event without a time stamp.
    static std::optional<Moment> momentOf(std::uint64_t timestamp, Moment now);

private:
    // A shortcut event has no time stamp; it follows the key event that caused it.
    std::uint64_t lastKeyTimestamp_ = 0;
};

} // namespace tessivo
