#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Device/GraphPosition.h"
#include "Platform/Sound/Device/OutputFifo.h"
#include "Platform/Sound/Limits.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace tessivo::sound {

// The device's side on the audio thread: turns the process callbacks of at most one capture and
// one playback stream into render cycles. The other functions are called with the loop locked;
// everything that both threads touch is atomic.
class PipeWireCycles {
public:
    PipeWireCycles();

    // The process functions of the two streams; their data is the PipeWireCycles.
    static void onCapture(void* data) TESSIVO_REALTIME;
    static void onPlayback(void* data) TESSIVO_REALTIME;

    void start(AudioRenderer& renderer, double renderRate);
    // When it returns, the renderer is not running and is not called again.
    void stop();

    // Set the streams, nullptr for none. When these return, the callback does not use the
    // previous stream any more. A triggered playback stream plays what the capture callback
    // rendered; another one renders in its own callback, without input.
    void setCapture(pw_stream* stream);
    void setPlayback(pw_stream* stream, bool triggered);

    // Whether what the capture stream gets is input; if not, it is dropped, and nothing is rendered
    // in its callback. Not at first, with each stream.
    void setInputHeard(bool heard) { inputHeard_ = heard; }

    // Whether the playback stream may be triggered: a stream that does not run may lose its
    // buffers at any time. After setPlaybackRunning(false) it is not being triggered.
    void setPlaybackRunning(bool running);

    // Seconds. Any thread.
    double inputLatency() const { return inputLatency_.load(std::memory_order_relaxed); }
    double outputLatency() const { return outputLatency_.load(std::memory_order_relaxed); }
    // Frames that the playback stream did not get in time, since construction. Any thread.
    std::int64_t missedOutputFrames() const {
        return missedOutputFrames_.load(std::memory_order_relaxed);
    }
    // Frames that passed in cycles without us, since construction. Any thread.
    std::int64_t missedFrames() const { return missedFrames_.load(std::memory_order_relaxed); }

private:
    // Enters the callback. Returns the renderer; null (and does not enter) when stopped.
    AudioRenderer* enter() TESSIVO_REALTIME;
    void leave() TESSIVO_REALTIME;
    template <typename Work>
    void inside(const std::atomic<pw_stream*>& stream, Work work) TESSIVO_REALTIME;
    void awaitLeave() const;

    void capture(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME;
    void playback(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME;
    // Begins a cycle of the stream that renders, which has so many frames.
    GraphPosition::Cycle beginCycle(pw_stream* stream, std::uint32_t frames) TESSIVO_REALTIME;
    Moment timeOf(const GraphPosition::Cycle& cycle, std::uint32_t frame) const TESSIVO_REALTIME;
    // The latency of the device behind a stream and of the stream itself, seconds.
    double latencyOf(const pw_time& time) const TESSIVO_REALTIME;
    void countMissedOutput(std::uint32_t frames) TESSIVO_REALTIME;
    // What has been counted since the last call.
    std::uint32_t takeMissedOutput() TESSIVO_REALTIME;

    std::atomic<AudioRenderer*> renderer_{nullptr};
    std::atomic<int> inside_{0}; // depth: triggering may call onPlayback() within onCapture()
    std::atomic<pw_stream*> capture_{nullptr};
    std::atomic<pw_stream*> playback_{nullptr};
    std::atomic<bool> inputHeard_{false};
    std::atomic<bool> triggered_{false};
    std::atomic<bool> playbackRunning_{false};
    std::atomic<bool> stale_{false}; // the FIFO holds frames of an earlier stream
    std::atomic<double> renderRate_{0.0};
    std::atomic<double> inputLatency_{0.0};
    std::atomic<double> outputLatency_{0.0};
    std::atomic<std::int64_t> missedOutputFrames_{0};
    std::atomic<std::int64_t> missedFrames_{0};
    std::atomic<std::uint64_t> departures_{0}; // how often the callback was left
    std::uint32_t untoldMissedOutput_ = 0;
    OutputFifo fifo_;
    bool wasTriggered_ = false;        // the playback stream, in the previous cycle
    std::uint32_t renderedFrames_ = 0; // in this cycle, for the playback stream to fetch
    GraphPosition position_;
    std::array<std::vector<float>, kGraphChannels> scratch_;
};

} // namespace tessivo::sound
