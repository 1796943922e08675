#pragma once

#include "Platform/Sound/Device/AudioDevice.h"

#include <vector>

namespace tessivo::sound {

// A device whose cycles are run by a test: deterministic and as fast as the processor. turn() is
// the audio callback; everything else is as with a real device.
class OfflineDevice final : public AudioDevice {
public:
    explicit OfflineDevice(Formats formats);
    ~OfflineDevice() override;

    Formats formats() override { return formats_; }
    void start(AudioRenderer& renderer, const Request& request) override;
    void stop() override;
    double inputLatency() const override { return inputLatency_; }
    double outputLatency() const override { return outputLatency_; }
    void setShortCycles(bool wanted) override { wantsShortCycles_ = wanted; }
    void setChangeHandler(std::function<void()> handler) override;

    // Makes the next start() throw AudioError with that text; empty lets it succeed again.
    void failToStart(std::string reason) { startFailure_ = std::move(reason); }
    void setLatencies(double input, double output) { // seconds
        inputLatency_ = input;
        outputLatency_ = output;
    }
    bool wantsShortCycles() const { return wantsShortCycles_; }

    // Gives the cycles a clock, which goes on with the frames at the render rate, whatever the
    // time of day. There is none at first.
    void startClock() { time_ = momentNow(); }
    // The time of the next cycle's first frame; Moment{} without a clock.
    Moment time() const { return time_; }
    // Loses that many frames: the clock goes on, nobody is called, and the next cycle tells.
    void lose(std::uint32_t frames);
    // As when the speaker did not get that many of the frames that were rendered.
    void loseOutput(std::uint32_t frames) { missedOutput_ += frames; }

    // Other devices, with the change notice that a real device would give.
    void changeFormats(Formats formats);

    bool isStarted() const { return renderer_ != nullptr; }
    bool capturing() const { return isStarted() && request_.capture; }

    // Runs one cycle with that input (0 to 2 channels of equal length) and returns the two
    // output channels. Not started: the output is silence and nothing is rendered.
    using Channels = std::vector<std::vector<float>>;
    Channels turn(std::uint32_t frames, const Channels& input = {});

private:
    Formats formats_;
    Request request_;
    AudioRenderer* renderer_ = nullptr;
    std::function<void()> changeHandler_;
    std::string startFailure_;
    double inputLatency_ = 0.0;
    double outputLatency_ = 0.0;
    bool wantsShortCycles_ = false;
    Moment time_{};
    std::uint32_t missed_ = 0;
    std::uint32_t missedOutput_ = 0;
    void advance(std::uint32_t frames);
};

} // namespace tessivo::sound
