#pragma once

#include "Platform/Sound/Diagnostics.h"
#include "Platform/Sound/Tap/TapHandler.h"
#include "Platform/Sound/Tap/TapQueue.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace tessivo::sound {

// The thread on which taps run: it takes captured frames from the tap queue, cuts them into
// buffers and calls the tap's block, which may wait for a disk. One tap at a time. install()
// and remove() belong to the main thread. A tap that fails ends with one diagnostic line.
class TapThread {
public:
    explicit TapThread(DiagnosticSink diagnostics);
    ~TapThread();
    TapThread(const TapThread&) = delete;
    TapThread& operator=(const TapThread&) = delete;

    // Delivers the frames of the queue, at queueRate (Hz), in that format, which has the
    // queue's channels.
    void install(std::shared_ptr<TapQueue> queue, double queueRate, std::uint32_t bufferSize,
                 const AudioFormat& format, TapHandler block);

    // Returns when the block has had all frames that are in the queue; the callback must not
    // use it any more. Harmless without a tap.
    void remove();

private:
    struct Tap;

    void run(const std::stop_token& stop);
    void work(Tap& tap, bool finish);

    DiagnosticSink diagnostics_;
    std::mutex mutex_; // for what follows
    std::condition_variable_any changed_;
    std::shared_ptr<Tap> tap_;
    bool finishing_ = false;
    std::jthread thread_; // the last member: it ends before the others go
};

} // namespace tessivo::sound
