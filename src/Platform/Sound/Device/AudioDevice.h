#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/AudioFormat.h"

#include <cstdint>
#include <functional>
#include <span>

namespace tessivo::sound {

// What one cycle of the device hands to the engine. All channels have `frames` samples.
struct RenderCycle {
    // 0, 1 or 2 channels: none in a cycle without a capture device. The count may change
    // from one cycle to the next.
    std::span<const float* const> input;
    // 2 channels (left, right), to be filled completely; or none when nothing is heard
    // because there is no playback device.
    std::span<float* const> output;
    std::uint32_t frames = 0;
};

// The engine's side of the device. render() runs on the audio callback, never on two
// threads at once, and never after AudioDevice::stop() has returned.
class AudioRenderer {
public:
    virtual void render(const RenderCycle& cycle) TESSIVO_REALTIME = 0;

protected:
    ~AudioRenderer() = default;
};

// The seam between the engine and whatever moves samples: the formats of the default input
// and output, start, stop, one callback, one change notice. Operations belong to the main
// thread and never block for longer than a bounded time.
class AudioDevice {
public:
    struct Formats {
        AudioFormat input;  // the default capture device; no channels: there is none
        AudioFormat output; // the default playback device; no channels: there is none
        // The rate that cycles run at, Hz. It may differ from either device's rate; the
        // system then converts. Fixed from start() to stop().
        double renderRate = 0.0;

        bool operator==(const Formats&) const = default;
    };

    struct Request {
        bool capture = true; // false opens no capture stream at all
    };

    virtual ~AudioDevice() = default;

    // The latest known formats: those that the last change notice spoke of, or newer.
    virtual Formats formats() const = 0;

    // Starts cycles. Throws AudioError when the sound server cannot be reached. Once
    // started, the device follows default devices and server restarts by itself and stays
    // started; cycles simply stop while there is nothing to drive them.
    virtual void start(AudioRenderer& renderer, const Request& request) = 0;

    // Ends cycles; when it returns, render() is not running and is not called again.
    // Harmless when not started.
    virtual void stop() = 0;

    // Time from a rendered frame to the moment it is heard, seconds. Any thread.
    virtual double outputLatency() const = 0;

    // Sets the notice of changed formats. It is called on a thread of the device's, must be
    // short, and is never called again once this has been called with nothing.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};

} // namespace tessivo::sound
