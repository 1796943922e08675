#include "Platform/Sound/Decode/ReaderThread.h"

#include <algorithm>
#include <iterator>

namespace tessivo::sound {

ReaderThread::ReaderThread(std::function<void()> afterEachRound)
    : afterEachRound_(std::move(afterEachRound))
    , thread_([this] { run(); }) {}

ReaderThread::~ReaderThread() {
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void ReaderThread::add(std::shared_ptr<PlayerStream> stream) {
    {
        const std::lock_guard lock(mutex_);
        added_.push_back(std::move(stream));
        woken_ = true;
    }
    changed_.notify_all();
}

void ReaderThread::wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

void ReaderThread::run() {
    std::vector<std::shared_ptr<PlayerStream>> streams;
    std::unique_lock lock(mutex_);
    while (!quit_) {
        woken_ = false;
        std::move(added_.begin(), added_.end(), std::back_inserter(streams));
        added_.clear();
        lock.unlock();

        std::optional<std::chrono::milliseconds> wait;
        for (const auto& stream : streams) {
            const auto next = stream->work();
            if (next && (!wait || *next < *wait)) {
                wait = next;
            }
        }
        std::erase_if(streams, [](const auto& stream) { return stream->isRetired(); });
        if (afterEachRound_) {
            afterEachRound_();
        }

        lock.lock();
        const auto woken = [this] {
            return woken_ || quit_;
        };
        if (!wait) {
            changed_.wait(lock, woken);
        } else if (*wait > std::chrono::milliseconds::zero()) {
            changed_.wait_for(lock, *wait, woken);
        }
    }
    std::move(added_.begin(), added_.end(), std::back_inserter(streams));
    lock.unlock();
    // Notices that are still owed are not lost with the engine.
    for (const auto& stream : streams) {
        stream->stop();
        stream->work();
    }
}

} // namespace tessivo::sound
