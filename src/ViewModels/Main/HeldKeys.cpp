#include "ViewModels/Main/HeldKeys.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace tessivo {

bool HeldKeys::eventFilter(QObject* watched, QEvent* event) {
    // The window hands the same event on to its items, through this filter again.
    if (!watched->isWindowType())
        return false;

    if (event->type() == QEvent::KeyRelease) {
        const auto& release = static_cast<const QKeyEvent&>(*event);
        releasedAt_ = release.timestamp();
        releasedKey_ = release.nativeScanCode();
    } else if (event->type() == QEvent::ShortcutOverride) {
        if (isUnmarkedRepeat(static_cast<const QKeyEvent&>(*event))) {
            event->accept();
            return true;
        }
    } else if (event->type() == QEvent::KeyPress) {
        const auto& press = static_cast<const QKeyEvent&>(*event);
        if (isUnmarkedRepeat(press)) {
            QKeyEvent repeat(QEvent::KeyPress, press.key(), press.modifiers(),
                             press.nativeScanCode(), press.nativeVirtualKey(),
                             press.nativeModifiers(), press.text(), true);
            repeat.setTimestamp(press.timestamp());
            QCoreApplication::sendEvent(watched, &repeat);
            event->setAccepted(repeat.isAccepted());
            return true;
        }
    }
    return false;
}

bool HeldKeys::isUnmarkedRepeat(const QKeyEvent& press) const {
    return !press.isAutoRepeat() && press.timestamp() == releasedAt_ &&
           press.nativeScanCode() == releasedKey_;
}

} // namespace tessivo
