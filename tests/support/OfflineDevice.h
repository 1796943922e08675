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

    Formats formats() const override { return formats_; }
    void start(AudioRenderer& renderer, const Request& request) override;
    void stop() override;
    double outputLatency() const override { return outputLatency_; }
    void setChangeHandler(std::function<void()> handler) override;

    // Makes the next start() throw AudioError with that text; empty lets it succeed again.
    void failToStart(std::string reason) { startFailure_ = std::move(reason); }
    void setOutputLatency(double seconds) { outputLatency_ = seconds; }

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
    double outputLatency_ = 0.0;
};

} // namespace tessivo::sound
