#include "ViewModels/Main/CommandQueue.h"

#include "Platform/System/CommandMoment.h"

namespace tessivo {
namespace {

constexpr std::size_t kMostGiven = 100;

} // namespace

bool CommandQueue::give(Command command) {
    if (!isWaiting() && given_.empty()) {
        command();
        return true;
    }
    if (given_.size() == kMostGiven) {
        return false;
    }
    given_.push_back({CommandMoment::current(), std::move(command)});
    return true;
}

void CommandQueue::addWaiting(int works) {
    waiting_ += works;
    emit isWaitingChanged();
}

void CommandQueue::carryOutNext() {
    if (isWaiting() || given_.empty()) {
        return;
    }
    const Given next = std::move(given_.front());
    {
        const CommandMoment moment(next.moment);
        next.command();
    }
    // Removed only here: what is given meanwhile comes later.
    given_.pop_front();
    if (!isWaiting()) { // otherwise what it waits for goes on
        MainQueue::post(this, [this] { carryOutNext(); });
    }
}

} // namespace tessivo
