#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessivo::sound {

// What an audio file is created with: rate, channels and the sample encoding, which is
// always 32-bit float here.
struct AudioFileSettings {
    double sampleRate = 0.0; // Hz
    std::uint32_t channelCount = 0;

    // One readable line, for diagnostics.
    std::string description() const;

    bool operator==(const AudioFileSettings&) const = default;
};

// Rate and channel count of non-interleaved 32-bit float audio. A format without channels
// stands for "no device".
class AudioFormat {
public:
    AudioFormat() = default;
    AudioFormat(double sampleRate, std::uint32_t channelCount)
        : sampleRate_(sampleRate)
        , channelCount_(channelCount) {}

    // The format of that rate and channel count, or nothing when no audio can have it (a
    // rate that is not positive and finite, no channels).
    static std::optional<AudioFormat> standard(double sampleRate, std::uint32_t channelCount);

    double sampleRate() const { return sampleRate_; } // Hz
    std::uint32_t channelCount() const { return channelCount_; }

    // One readable line, for diagnostics.
    std::string description() const;
    AudioFileSettings settings() const { return {sampleRate_, channelCount_}; }

    bool operator==(const AudioFormat&) const = default;

private:
    double sampleRate_ = 0.0;
    std::uint32_t channelCount_ = 0;
};

// A rate in Hz as a decimal number with at least one digit after the point: "48000.0".
std::string rateText(double sampleRate);

} // namespace tessivo::sound
