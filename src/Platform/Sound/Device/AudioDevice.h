#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/AudioFormat.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace tessivo::sound {

// What one cycle of the device hands to the engine. All channels have `frames` samples.
struct RenderCycle {
    // 0, 1 or 2 channels: none in a cycle without a capture device. The count may change
    // from one cycle to the next.
    std::span<const float* const> input;
    // 2 channels (left, right), to be filled completely; none without a playback device.
    std::span<float* const> output;
    std::uint32_t frames = 0;
    // The first frame's time on the clock of the cycles. A frame captured in this cycle and a
    // frame rendered in it have the same time. Moment{} when the device has no clock: commands
    // then take effect with the next frame.
    Moment time{};
    // Frames that passed since the previous cycle without reaching us: cycles that were lost.
    // 0 for the first cycle after a start.
    std::uint32_t missed = 0;
    // Frames that were rendered in vain or not in time since the previous cycle, so that the
    // speaker missed them.
    std::uint32_t missedOutput = 0;
};

// The engine's side of the device. render() runs on the audio callback, never on two
// threads at once, and never after AudioDevice::stop() has returned.
class AudioRenderer {
public:
    virtual void render(const RenderCycle& cycle) TESSIVO_REALTIME = 0;

protected:
    ~AudioRenderer() = default;
};

// What the engine needs of an audio device, real or simulated. Functions are called on the main
// thread unless they say otherwise, and block for a bounded time only.
class AudioDevice {
public:
    struct Formats {
        AudioFormat input;  // of the default capture device; no channels when there is none
        AudioFormat output; // of the default playback device; no channels when there is none
        // The rate that cycles run at, Hz. It may differ from either device's rate; the
        // system then converts. Fixed from start() to stop().
        double renderRate = 0.0;
        // What people call the two devices; empty when there is none.
        std::string inputName{};
        std::string outputName{};

        bool operator==(const Formats&) const = default;
    };

    struct Request {
        bool capture = true; // false opens no capture stream at all
    };

    virtual ~AudioDevice() = default;

    // The latest known formats: as of the last change notice, or newer.
    virtual Formats formats() = 0;

    // Starts cycles. Throws AudioError when there is no sound server; one that does not answer is
    // not waited for. Once started, the device follows changes of the default devices and
    // reconnects to a restarted server; it stays started while there is no device or server, but
    // then there are no cycles.
    virtual void start(AudioRenderer& renderer, const Request& request) = 0;

    // Ends cycles; when it returns, render() is not running and is not called again.
    // Does nothing when not started.
    virtual void stop() = 0;

    // As the sound server states it, seconds, any thread: from the moment at which a sound is
    // made to the time of its captured frame, and from the time of a rendered frame to the
    // moment at which it is heard.
    virtual double inputLatency() const = 0;
    virtual double outputLatency() const = 0;

    // Asks for short cycles, because the input is being heard, or leaves their length to the
    // server. What the user has set comes first. Also while started.
    virtual void setShortCycles(bool wanted) = 0;

    // Sets the handler of format changes. It is called on a thread of the device and must return
    // soon. After setChangeHandler({}) it is not running and is not called again.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};

} // namespace tessivo::sound
