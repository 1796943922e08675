#include "support/OfflineDevice.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Limits.h"

#include <array>
#include <chrono>
#include <utility>

namespace tessivo::sound {

OfflineDevice::OfflineDevice(Formats formats)
    : formats_(formats) {}

OfflineDevice::~OfflineDevice() = default;

void OfflineDevice::start(AudioRenderer& renderer, const Request& request) {
    if (!startFailure_.empty()) {
        throw AudioError(startFailure_);
    }
    request_ = request;
    renderer_ = &renderer;
}

void OfflineDevice::stop() {
    renderer_ = nullptr;
}

void OfflineDevice::setChangeHandler(std::function<void()> handler) {
    changeHandler_ = std::move(handler);
}

void OfflineDevice::changeFormats(Formats formats) {
    formats_ = formats;
    if (changeHandler_) {
        changeHandler_();
    }
}

void OfflineDevice::advance(std::uint32_t frames) {
    if (time_ == Moment{}) {
        return;
    }
    const std::chrono::duration<double> length(frames / formats_.renderRate);
    time_ += std::chrono::round<Moment::duration>(length);
}

void OfflineDevice::lose(std::uint32_t frames) {
    advance(frames);
    missed_ += frames;
}

OfflineDevice::Channels OfflineDevice::turn(std::uint32_t frames, const Channels& input) {
    Channels output(kGraphChannels, std::vector<float>(frames));
    if (renderer_ == nullptr) {
        return output;
    }
    std::vector<const float*> inputChannels;
    if (request_.capture) {
        for (const auto& channel : input) {
            inputChannels.push_back(channel.data());
        }
    }
    std::array<float*, kGraphChannels> outputChannels{output[0].data(), output[1].data()};
    renderer_->render({inputChannels, outputChannels, frames, time_, std::exchange(missed_, 0U),
                       std::exchange(missedOutput_, 0U)});
    advance(frames);
    return output;
}

} // namespace tessivo::sound
