#include "ViewModels/Main/TimedApplication.h"

#include "Platform/System/CommandMoment.h"
#include "ViewModels/Main/HeldKeys.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QShortcut>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

#include <utility>

namespace tessivo {
namespace {

using namespace std::chrono_literals;

// A window and a shortcut that note the current moment.
struct MomentWindow : QWindow {
    Moment pressed;
    Moment activated;
    bool isRepeat = false; // what was pressed

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            pressed = CommandMoment::current();
            isRepeat = static_cast<QKeyEvent*>(event)->isAutoRepeat();
        }
        return QWindow::event(event);
    }
};

// As an X server stamps a key: milliseconds on the monotonic clock.
std::uint64_t stampOf(Moment moment) {
    return static_cast<std::uint64_t>(
        std::chrono::floor<std::chrono::milliseconds>(moment.time_since_epoch()).count());
}

TEST(KeysTest, CountFromTheirTimeStampsAndAHeldOneIsMarkedAsARepeat) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 0;
    TimedApplication application(argc, nullptr);
    HeldKeys heldKeys;
    application.installEventFilter(&heldKeys);
    MomentWindow window;
    QShortcut shortcut(QKeySequence(Qt::Key_F), &window);
    QObject::connect(&shortcut, &QShortcut::activated,
                     [&] { window.activated = CommandMoment::current(); });
    window.show();
    window.requestActivate();
    while (QGuiApplication::focusWindow() != &window) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    const auto send = [&](QEvent::Type type, Qt::Key key, std::uint64_t stamp) {
        QWindowSystemInterface::handleExtendedKeyEvent(
            &window, static_cast<ulong>(stamp), type, key, Qt::NoModifier,
            static_cast<quint32>(key), 0, 0, QString(QChar(key)));
        QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
    };
    const auto press = [&](Qt::Key key, std::uint64_t stamp) {
        send(QEvent::KeyPress, key, stamp);
        send(QEvent::KeyRelease, key, stamp);
    };
    const Moment given = std::chrono::floor<std::chrono::milliseconds>(momentNow() - 150ms);
    // Only the lowest 32 bits come from some display servers.
    for (const std::uint64_t stamp : {stampOf(given), stampOf(given) & UINT32_MAX}) {
        window.pressed = window.activated = {};
        press(Qt::Key_R, stamp);
        EXPECT_EQ(window.pressed, given);
        press(Qt::Key_F, stamp); // not a repeat, though the other key went up just then
        EXPECT_EQ(window.activated, given);
        EXPECT_FALSE(window.isRepeat);
    }
    // No time stamp, and such that cannot be right: now.
    for (const std::uint64_t stamp :
         {std::uint64_t{0}, stampOf(given) - 50000, stampOf(given) + 5000, std::uint64_t{1}}) {
        const Moment before = momentNow();
        press(Qt::Key_R, stamp);
        EXPECT_GE(window.pressed, before) << stamp;
        EXPECT_LE(window.pressed, momentNow()) << stamp;
    }
    EXPECT_GE(CommandMoment::current(), given + 150ms) << "the command is over";

    // Held, as an X server tells it: up and down again at one time, without a mark.
    window.activated = {};
    for (const Qt::Key key : {Qt::Key_R, Qt::Key_F}) {
        send(QEvent::KeyRelease, key, stampOf(given) + 40);
        send(QEvent::KeyPress, key, stampOf(given) + 40);
        EXPECT_TRUE(std::exchange(window.isRepeat, false));
    }
    EXPECT_EQ(window.activated, Moment{});
    press(Qt::Key_F, stampOf(given) + 41);
    EXPECT_EQ(window.activated, given + 41ms) << "pressed once more";

    // Across the end of the 32 bits.
    const Moment early{50ms + std::chrono::milliseconds(std::int64_t{1} << 32)};
    EXPECT_EQ(TimedApplication::momentOf(UINT32_MAX, early), early - 51ms);
}

} // namespace
} // namespace tessivo
