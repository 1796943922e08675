#include "Platform/System/SerialQueue.h"

#include <deque>
#include <mutex>
#include <utility>

namespace tessivo {

struct SerialQueue::State {
    std::mutex mutex;
    std::deque<std::function<void()>> tasks;
    bool running = false;

    // Nothing when all is done; the queue then counts as idle.
    std::function<void()> next() {
        const std::scoped_lock lock(mutex);
        if (tasks.empty()) {
            running = false;
            return {};
        }
        auto task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }
};

SerialQueue::SerialQueue(BackgroundQueue::Priority priority)
    : priority_(priority)
    , state_(std::make_shared<State>()) {}

void SerialQueue::post(std::function<void()> task) {
    {
        const std::scoped_lock lock(state_->mutex);
        state_->tasks.push_back(std::move(task));
        if (std::exchange(state_->running, true)) {
            return;
        }
    }
    BackgroundQueue::post(priority_, [state = state_] {
        while (const auto next = state->next()) {
            next();
        }
    });
}

} // namespace tessivo
