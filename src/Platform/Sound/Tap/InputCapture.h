#pragma once

#include "Platform/Sound/Diagnostics.h"
#include "Platform/Sound/Tap/TapThread.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tessivo::sound {

// The engine's capture side, as the main thread sees it: the tap, the meter and what is held of
// the input. While one of them is there, the callback fills a queue that the tap thread reads.
class InputCapture {
public:
    // What the callback writes to; either may be none.
    struct Targets {
        std::shared_ptr<TapQueue> queue;
        std::shared_ptr<TakeHead> head;
    };

    // `follow` makes the callback write to the targets, and returns when it no longer uses
    // others. The timeline outlives the capture.
    InputCapture(const Timeline& timeline, DiagnosticSink diagnostics,
                 std::function<void()> follow);
    ~InputCapture();
    InputCapture(const InputCapture&) = delete;
    InputCapture& operator=(const InputCapture&) = delete;

    // The input's format; without channels or a rate there is none. The render rate in Hz: when
    // it is another one, a tap begins anew.
    void setFormats(const AudioFormat& input, double renderRate);

    bool isUsed() const { return tap_ || meter_.block || held_; }
    const Targets& targets() const { return targets_; }
    std::int64_t overrunFrames() const;

    // See InputNode. Positions on the timeline; a tap without one begins with the next frame
    // and ends with the last one.
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block,
                    std::optional<std::int64_t> begin);
    std::optional<std::int64_t> removeTap(std::optional<std::int64_t> end);
    void hold(std::int64_t since);
    void release();
    void setMeter(std::uint32_t bufferSize, MeterBlock block);

private:
    struct InstalledTap {
        std::uint32_t bufferSize = 0;
        AudioFormat format;
        TapHandler block;
        std::optional<std::int64_t> begin;
        bool running = false;
    };
    struct InstalledMeter {
        std::uint32_t bufferSize = 0;
        MeterBlock block;
    };

    bool hasInput() const;
    void startThread();
    std::int64_t kept(std::int64_t position) const;
    void stopThreadIfUnused();
    void stopThread();
    void startTap();
    std::optional<std::int64_t> stopTap(std::optional<std::int64_t> end);

    const Timeline& timeline_;
    const DiagnosticSink diagnostics_;
    const std::function<void()> follow_;
    AudioFormat input_;
    double renderRate_ = 0.0;
    std::optional<InstalledTap> tap_;
    InstalledMeter meter_;
    std::optional<std::int64_t> held_;
    Targets targets_;
    std::int64_t queueBegin_ = 0;      // nothing before that position is in the queue
    std::int64_t earlierOverruns_ = 0; // frames, of earlier queues
    std::unique_ptr<TapThread> thread_;
};

} // namespace tessivo::sound
