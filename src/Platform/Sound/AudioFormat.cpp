#include "Platform/Sound/AudioFormat.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tessivo::sound {

std::string rateText(double sampleRate) {
    std::array<char, 32> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), sampleRate, std::chars_format::fixed);
    if (error != std::errc{}) {
        return "?";
    }
    std::string result(text.data(), end);
    if (result.find_first_not_of("-0123456789") == std::string::npos) {
        result += ".0";
    }
    return result;
}

std::string AudioFileSettings::description() const {
    return "{encoding: 32-bit float, rate: " + rateText(sampleRate) +
           " Hz, channels: " + std::to_string(channelCount) + "}";
}

std::optional<AudioFormat> AudioFormat::standard(double sampleRate, std::uint32_t channelCount) {
    if (!std::isfinite(sampleRate) || sampleRate <= 0.0 || channelCount == 0) {
        return std::nullopt;
    }
    return AudioFormat(sampleRate, channelCount);
}

std::string AudioFormat::description() const {
    return "<" + std::to_string(channelCount_) + " ch, " + rateText(sampleRate_) +
           " Hz, Float32, non-interleaved>";
}

} // namespace tessivo::sound
