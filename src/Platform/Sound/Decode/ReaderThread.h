#pragma once

#include "Platform/Sound/Decode/PlayerReader.h"
#include "Platform/Sound/Diagnostics.h"
#include "Platform/Sound/Render/OutputLimit.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace tessivo::sound {

// The thread that keeps all players of one engine decoded ahead, and tells of underruns, of
// players that failed, and once of samples that no loop should have. A player leaves by itself
// once it has been stopped. At the end of the thread all players are stopped and give the notices
// that are still due.
class ReaderThread {
public:
    ReaderThread(std::shared_ptr<const OutputLimit> limit, DiagnosticSink diagnostics);
    ~ReaderThread();
    ReaderThread(const ReaderThread&) = delete;
    ReaderThread& operator=(const ReaderThread&) = delete;

    // Main thread.
    void add(std::shared_ptr<PlayerReader> player);
    // Main thread: a player has new orders.
    void wake();

    // It decodes at this moment, for which its end would wait. Any thread.
    bool isDecoding() const { return decoding_.load(std::memory_order_relaxed); }

    // Frames that players could not deliver in time. The audio callback counts, any thread
    // reads.
    const std::shared_ptr<std::atomic<std::int64_t>>& underruns() const { return underruns_; }

private:
    void run(const std::stop_token& stop);
    std::optional<std::chrono::milliseconds> workOn(PlayerReader& player) const;
    void reportUnderruns();
    void reportLimit(bool needed);

    const std::shared_ptr<const OutputLimit> limit_;
    const DiagnosticSink diagnostics_;
    const std::shared_ptr<std::atomic<std::int64_t>> underruns_ =
        std::make_shared<std::atomic<std::int64_t>>(0);
    std::atomic<bool> decoding_ = false;
    std::int64_t reportedUnderruns_ = 0; // reader thread
    bool limitReported_ = false;         // reader thread

    std::mutex mutex_; // for what follows
    std::condition_variable_any changed_;
    std::vector<std::shared_ptr<PlayerReader>> added_;
    bool woken_ = false;
    std::jthread thread_; // the last member: it ends before the others go
};

} // namespace tessivo::sound
