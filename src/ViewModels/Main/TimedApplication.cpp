#include "ViewModels/Main/TimedApplication.h"

#include "Platform/System/CommandMoment.h"
#include "Platform/System/MainQueue.h"

#include <QInputEvent>

#include <chrono>

namespace tessivo {

namespace {

// A window is given all that the display server sends in one go, without a turn of the event loop
// in between. The override comes first and decides which shortcut is meant.
bool isPress(const QObject& receiver, QEvent::Type type) {
    return receiver.isWindowType() &&
           (type == QEvent::ShortcutOverride || type == QEvent::KeyPress ||
            type == QEvent::MouseButtonPress || type == QEvent::TouchBegin);
}

} // namespace

bool TimedApplication::notify(QObject* receiver, QEvent* event) {
    if (isPress(*receiver, event->type())) {
        MainQueue::runPosted();
    }
    std::uint64_t timestamp = 0;
    if (event->type() == QEvent::Shortcut) {
        timestamp = lastKeyTimestamp_;
    } else if (event->isInputEvent()) {
        timestamp = static_cast<const QInputEvent*>(event)->timestamp();
        if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
            lastKeyTimestamp_ = timestamp;
        }
    }
    const std::optional<Moment> moment = momentOf(timestamp, momentNow());
    if (!moment) {
        return QGuiApplication::notify(receiver, event);
    }
    const CommandMoment scope(believable(*moment));
    return QGuiApplication::notify(receiver, event);
}

std::optional<Moment> TimedApplication::momentOf(std::uint64_t timestamp, Moment now) {
    using std::chrono::milliseconds;
    if (timestamp == 0) {
        return std::nullopt;
    }
    // Display servers count milliseconds in 32 bits, which run over every seven weeks.
    const auto nowInMs = std::chrono::floor<milliseconds>(now);
    const auto age =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(nowInMs.time_since_epoch().count()) -
                                  static_cast<std::uint32_t>(timestamp));
    return nowInMs - milliseconds(age);
}

} // namespace tessivo
