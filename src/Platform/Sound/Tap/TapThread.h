#pragma once

#include "Platform/Sound/Diagnostics.h"
#include "Platform/Sound/Render/Timeline.h"
#include "Platform/Sound/Tap/Tap.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace tessivo::sound {

// The thread that reads the tap queue for as long as the input is used: it keeps the last
// second, feeds at most one tap and one meter, and tells of frames that were lost. A tap's block
// may wait for a disk; a tap or a meter that fails ends with one diagnostic line. All functions
// belong to the main thread.
class TapThread {
public:
    // The queue's rate in Hz. The timeline outlives the thread.
    TapThread(std::shared_ptr<TapQueue> queue, double rate, const Timeline& timeline,
              DiagnosticSink diagnostics);
    ~TapThread();
    TapThread(const TapThread&) = delete;
    TapThread& operator=(const TapThread&) = delete;

    const std::shared_ptr<TapQueue>& queue() const { return queue_; }

    // From now on all frames from that position on are kept, until install() or release().
    void hold(std::int64_t position);
    void release();

    void install(Tap::Request request);

    // Gives the block all frames before that position and ends the tap. Waits for those that
    // are not captured yet, at most that long, and for as long as the block does. Returns how
    // many frames, at the format's rate, the block has had of those; nothing without a tap.
    std::optional<std::int64_t> remove(std::int64_t end, std::chrono::duration<double> patience);

    // The meter gets a buffer of that size at most thirty times a second. It is asked for
    // nothing else, so nothing is copied in between. While there is a tap, it gets no frame
    // before the tap's block. None ends it; it may then be called once more.
    void setMeter(std::uint32_t bufferSize, MeterBlock block);

private:
    using Clock = std::chrono::steady_clock;

    struct Meter;
    struct Ending {
        std::int64_t position = 0;
        Clock::time_point deadline;
    };
    // Lost frames that are told in one line.
    struct Burst {
        Timeline::Losses told; // of all bursts
        Timeline::Losses seen;
        Clock::time_point lastSeen;
    };

    void run(const std::stop_token& stop);
    Clock::duration timeToNextWork() const;
    // What the thread works on in one go, without the lock.
    struct Job {
        std::shared_ptr<Tap> tap;
        std::shared_ptr<Meter> meter;
        std::optional<std::int64_t> held;
        std::optional<Ending> ending;
        std::int64_t earlierOverruns = 0; // frames that were lost before the tap's first
    };

    bool workOrEnd(const Job& job);
    bool work(const Job& job);
    bool deliver(const Job& job);
    void measure(Meter& meter, std::int64_t limit);
    void releaseFrames(const Job& job);
    void tellLosses(const Job& job);
    void tellHoles(bool atOnce);

    const std::shared_ptr<TapQueue> queue_;
    const double rate_;
    // The tap's end, which the main thread sets: a tap that cannot keep up must see it.
    std::atomic<std::int64_t> end_{INT64_MAX};
    const Timeline& timeline_;
    const DiagnosticSink diagnostics_;

    // Tap thread.
    Burst holes_;
    const Tap* current_ = nullptr; // the tap of the last job
    std::int64_t meterNext_ = 0;   // the position of the meter's next buffer

    std::mutex mutex_; // for what follows
    std::condition_variable_any changed_;
    Job job_;
    std::int64_t lastLength_ = 0; // frames of the last tap that ended
    bool woken_ = false;
    std::jthread thread_; // the last member: it ends before the others go
};

} // namespace tessivo::sound
