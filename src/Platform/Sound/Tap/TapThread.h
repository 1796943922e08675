#pragma once

#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/Tap/TapQueue.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace tessivo::sound {

// The thread on which taps run: takes captured frames from the tap queue, cuts them into
// buffers and calls the tap's block, which may block on a disk. One tap at a time.
// install() and remove() belong to the main thread.
class TapThread {
public:
    explicit TapThread(DiagnosticSink diagnostics);
    ~TapThread();
    TapThread(const TapThread&) = delete;
    TapThread& operator=(const TapThread&) = delete;

    // Delivers what comes out of the queue, at queueRate (Hz), in that format.
    void install(std::shared_ptr<TapQueue> queue, double queueRate, std::uint32_t bufferSize,
                 const AudioFormat& format, TapBlock block);

    // Delivers all frames that are in the queue, which the callback must have let go of, and
    // returns when the block has had them. Harmless without a tap.
    void remove();

private:
    struct Tap;

    void run();
    static void deliver(Tap& tap, bool finish);
    static void append(Tap& tap, std::span<const float> interleaved);
    static void callBlock(Tap& tap);

    DiagnosticSink diagnostics_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::shared_ptr<Tap> tap_;
    bool finishing_ = false;
    bool quit_ = false;
    std::thread thread_;
};

} // namespace tessivo::sound
