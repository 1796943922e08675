#pragma once

#include "Platform/Sound/AudioFormat.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct spa_pod;

// Translations between the server's descriptions and ours.
namespace tessivo::sound {

// Rate and channels of a raw audio format; where it offers several, the one that it prefers.
std::optional<AudioFormat> parseRawFormat(const spa_pod* param);

// A stream format of planar 32-bit floats: mono, or front left and right.
class StreamFormat {
public:
    StreamFormat(double sampleRate, std::uint32_t channelCount);
    const spa_pod* pod() const { return pod_; }

private:
    alignas(8) std::array<std::byte, 512> storage_{};
    const spa_pod* pod_ = nullptr;
};

// The name in {"name": "..."}; empty when there is none.
std::string parseNodeName(const char* json);

// The numbers in [ 44100 48000 ], or a single number.
std::vector<int> parseNumbers(const char* json);

} // namespace tessivo::sound
