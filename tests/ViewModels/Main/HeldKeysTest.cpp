#include "ViewModels/Main/HeldKeys.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QWindow>

#include <vector>

namespace tessivo {
namespace {

constexpr quint32 spaceCode = 65;

// A window that notes what reaches it.
class NotingWindow : public QWindow {
public:
    // What it was, and whether it was marked as a repeat.
    using Presses = std::vector<std::pair<QEvent::Type, bool>>;

    // Gives it an event as the window system would, and tells whether it was accepted.
    bool send(QEvent::Type type, quint64 time, quint32 code = spaceCode, bool marked = false) {
        QKeyEvent event(type, Qt::Key_Space, Qt::NoModifier, code, 0, 0, QStringLiteral(" "),
                        marked);
        event.setTimestamp(time);
        event.ignore();
        QCoreApplication::sendEvent(this, &event);
        return event.isAccepted();
    }

    Presses presses;

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride)
            presses.emplace_back(event->type(), static_cast<QKeyEvent*>(event)->isAutoRepeat());
        return true;
    }
};

constexpr auto askShortcuts = QEvent::ShortcutOverride;
constexpr auto press = QEvent::KeyPress;
constexpr auto release = QEvent::KeyRelease;

TEST(HeldKeys, UnmarkedRepeatsMissTheShortcutsAndAreHandedOnMarked) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 0;
    QGuiApplication application(argc, nullptr);
    HeldKeys heldKeys;
    application.installEventFilter(&heldKeys);
    NotingWindow window;

    EXPECT_FALSE(window.send(askShortcuts, 1000)); // the shortcuts have it
    window.send(press, 1000);
    window.send(release, 1660);
    EXPECT_TRUE(window.send(askShortcuts, 1660)); // kept from them
    window.send(press, 1660);
    EXPECT_EQ(window.presses,
              (NotingWindow::Presses{{askShortcuts, false}, {press, false}, {press, true}}));

    // Repeats that the toolkit has marked, another key, and the same key once more.
    window.presses.clear();
    window.send(release, 1700, spaceCode, true);
    EXPECT_FALSE(window.send(askShortcuts, 1700, spaceCode, true));
    window.send(release, 1740);
    EXPECT_FALSE(window.send(askShortcuts, 1740, spaceCode + 1));
    EXPECT_FALSE(window.send(askShortcuts, 1741));
    window.send(press, 1741);
    EXPECT_EQ(
        window.presses,
        (NotingWindow::Presses{
            {askShortcuts, true}, {askShortcuts, false}, {askShortcuts, false}, {press, false}}));
}

} // namespace
} // namespace tessivo
