#include "Platform/Sound/AudioPCMBuffer.h"

#include <algorithm>

namespace tessivo::sound {

AudioPCMBuffer::AudioPCMBuffer(AudioFormat format, std::uint32_t frameCapacity)
    : format_(format)
    , frameCapacity_(frameCapacity)
    , samples_(static_cast<std::size_t>(frameCapacity) * format.channelCount()) {}

void AudioPCMBuffer::setFrameLength(std::uint32_t frames) {
    frameLength_ = std::min(frames, frameCapacity_);
}

std::span<float> AudioPCMBuffer::channel(std::uint32_t index) {
    return std::span(samples_).subspan(static_cast<std::size_t>(index) * frameCapacity_,
                                       frameLength_);
}

std::span<const float> AudioPCMBuffer::channel(std::uint32_t index) const {
    return std::span(samples_).subspan(static_cast<std::size_t>(index) * frameCapacity_,
                                       frameLength_);
}

void AudioPCMBuffer::interleave(std::vector<float>& target) const {
    const std::uint32_t channels = format_.channelCount();
    target.resize(static_cast<std::size_t>(frameLength_) * channels);
    for (std::uint32_t c = 0; c < channels; ++c) {
        std::size_t at = c;
        for (const float sample : channel(c)) {
            target[at] = sample;
            at += channels;
        }
    }
}

} // namespace tessivo::sound
