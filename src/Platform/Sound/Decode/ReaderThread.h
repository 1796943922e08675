#pragma once

#include "Platform/Sound/Render/PlayerStream.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace tessivo::sound {

// The thread that keeps every player stream of one engine decoded ahead. add() and wake()
// belong to the main thread; a stream leaves by itself once it has been stopped.
class ReaderThread {
public:
    explicit ReaderThread(std::function<void()> afterEachRound);
    ~ReaderThread();
    ReaderThread(const ReaderThread&) = delete;
    ReaderThread& operator=(const ReaderThread&) = delete;

    void add(std::shared_ptr<PlayerStream> stream);

    // A stream has new orders.
    void wake();

private:
    void run();

    std::function<void()> afterEachRound_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::shared_ptr<PlayerStream>> added_;
    bool woken_ = false;
    bool quit_ = false;
    std::thread thread_;
};

} // namespace tessivo::sound
