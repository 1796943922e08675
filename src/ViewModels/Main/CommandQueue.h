#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/System/MainQueue.h"

#include <QObject>

#include <deque>
#include <functional>
#include <utility>

namespace tessivo {

// Carries out commands in the order in which they are given, also when one has to wait for the
// disk: the next one begins when that one is done and what it posted has run, and counts from the
// moment at which it was given. Main thread only.
class CommandQueue : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    using Command = std::function<void()>;

    // Now, if no other command waits. Of more commands than anybody can mean the last are dropped:
    // then the result is false.
    bool give(Command command);

    // For a command that goes on when work in the background is done: the commands that follow
    // wait until what this returns has been called, once, with the work's result if it has one,
    // which it hands on. What goes on may wait again.
    template <typename GoOn> auto wait(GoOn goOn) {
        addWaiting(1);
        return [this, goOn = std::move(goOn)](const auto&... result) {
            goOn(result...);
            MainQueue::post(this, [this] {
                addWaiting(-1);
                carryOutNext();
            });
        };
    }
    bool isWaiting() const { return waiting_ > 0; }

signals:
    void isWaitingChanged();

private:
    struct Given {
        Moment moment;
        Command command;
    };

    void addWaiting(int works);
    void carryOutNext();

    int waiting_ = 0; // for so many works
    std::deque<Given> given_;
};

} // namespace tessivo
