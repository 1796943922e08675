#pragma once

#include "Platform/Sound/AudioFormat.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tessivo::sound {

// Owns frames of non-interleaved 32-bit float samples. Not synchronised: one thread at a time.
class AudioPCMBuffer {
public:
    // All samples are zero and frameLength() is 0.
    AudioPCMBuffer(AudioFormat format, std::uint32_t frameCapacity);

    const AudioFormat& format() const { return format_; }
    std::uint32_t frameCapacity() const { return frameCapacity_; }

    // Number of valid frames, never above the capacity.
    std::uint32_t frameLength() const { return frameLength_; }
    void setFrameLength(std::uint32_t frames);

    // False for a buffer without channels.
    bool hasFloatChannelData() const { return format_.channelCount() > 0; }

    // The valid samples of one channel; index below the format's channel count.
    std::span<float> channel(std::uint32_t index);
    std::span<const float> channel(std::uint32_t index) const;

    // Replaces the target by the valid frames, interleaved. Allocates when they do not fit.
    void interleave(std::vector<float>& target) const;

private:
    AudioFormat format_;
    std::uint32_t frameCapacity_;
    std::uint32_t frameLength_ = 0;
    std::vector<float> samples_;
};

// When a buffer's first frame was captured.
struct AudioTime {
    std::int64_t sampleTime = 0; // frames since the tap was installed, at sampleRate
    double sampleRate = 0.0;     // Hz
};

} // namespace tessivo::sound
