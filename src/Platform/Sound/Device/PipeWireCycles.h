#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Limits.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

struct pw_stream;
struct pw_stream_events;

namespace tessivo::sound {

// Carries what the capture callback rendered to the playback callback that it wakes. Both
// run on one thread. In step at equal rates it is empty after every cycle; where streams
// convert rates it settles at the few frames by which their needs differ.
class OutputFifo {
public:
    OutputFifo();

    void clear() TESSIVO_REALTIME;

    // Appends a cycle. Frames that nobody fetched since the previous cycle are late and go.
    void beginCycle() TESSIVO_REALTIME;
    void push(std::span<const float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    // Fills the channels and returns how many frames of silence that took at the end.
    std::uint32_t pop(std::span<float* const> channels, std::uint32_t frames) TESSIVO_REALTIME;

    std::uint32_t size() const TESSIVO_REALTIME { return size_; }

private:
    static constexpr std::uint32_t kCapacity = 4 * kMaxRenderFrames;
    // Frames that stayed for so many cycles are not needed to bridge anything.
    static constexpr std::uint32_t kTrimCycles = 512;

    void drop(std::uint32_t frames) TESSIVO_REALTIME;

    std::array<std::vector<float>, kGraphChannels> samples_;
    std::uint32_t first_ = 0;
    std::uint32_t size_ = 0;
    bool fetched_ = true;
    std::uint32_t lowest_ = 0;
    std::uint32_t cycles_ = 0;
};

// The half of the device that lives on the audio thread: turns the callbacks of at most one
// capture and one playback stream into render cycles. Set up by the loop thread (or with
// the loop locked); everything that both threads touch is atomic.
class PipeWireCycles {
public:
    PipeWireCycles();

    // Process callbacks for the two streams; the listener's data is this object.
    static const pw_stream_events kCaptureEvents;
    static const pw_stream_events kPlaybackEvents;

    void start(AudioRenderer& renderer, double renderRate);
    // When it returns, the renderer is not running and is not called again.
    void stop();

    // Names the streams; none is nullptr. When these return, the callback has let go of the
    // stream that was named before. A triggered playback stream plays what is rendered in
    // the capture callback; any other one renders by itself, without input.
    void setCapture(pw_stream* stream);
    void setPlayback(pw_stream* stream, bool triggered);

    // Whether the playback stream may be woken: a stream that does not run is about to lose
    // its buffers. When this returns with false, it is not being woken.
    void setPlaybackRunning(bool running);

    double outputLatency() const { return outputLatency_.load(std::memory_order_relaxed); }

private:
    static void onCapture(void* data);
    static void onPlayback(void* data);

    // Enters the callback: the renderer, or nothing when there is nothing to do.
    AudioRenderer* enter() TESSIVO_REALTIME;
    void leave() TESSIVO_REALTIME;
    void awaitLeave() const;

    void capture(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME;
    void playback(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME;
    void measureLatency(pw_stream* stream) TESSIVO_REALTIME;

    std::atomic<AudioRenderer*> renderer_{nullptr};
    std::atomic<int> inside_{0}; // depth: waking a stream may call it from within
    std::atomic<pw_stream*> capture_{nullptr};
    std::atomic<pw_stream*> playback_{nullptr};
    std::atomic<bool> triggered_{false};
    std::atomic<bool> playbackRunning_{false};
    std::atomic<bool> stale_{false}; // the queue holds frames of an earlier stream
    std::atomic<double> renderRate_{0.0};
    std::atomic<double> outputLatency_{0.0};
    std::atomic<std::uint64_t> departures_{0}; // how often a callback was left
    OutputFifo fifo_;
    std::array<std::vector<float>, kGraphChannels> scratch_;
};

} // namespace tessivo::sound
