#include "Platform/Sound/Render/OutputLimit.h"

#include <algorithm>
#include <cmath>

namespace tessivo::sound {

namespace {

bool isWithin(const float* samples, std::uint32_t frames) TESSIVO_REALTIME {
    bool within = true;
    for (std::uint32_t i = 0; i < frames; ++i) {
        within &= std::abs(samples[i]) <= kLoudestOutput; // false for what is no number
    }
    return within;
}

float limited(float sample) TESSIVO_REALTIME {
    return std::isfinite(sample) ? std::clamp(sample, -kLoudestOutput, kLoudestOutput) : 0.0F;
}

} // namespace

StereoBlock OutputLimit::apply(StereoBlock block, std::uint32_t frames,
                               StereoBuffer& buffer) TESSIVO_REALTIME {
    if (block.isSilent() || (isWithin(block.left, frames) && isWithin(block.right, frames))) {
        return block;
    }
    hasActed_.store(true, std::memory_order_relaxed);
    std::transform(block.left, block.left + frames, buffer.left.begin(), limited);
    std::transform(block.right, block.right + frames, buffer.right.begin(), limited);
    return buffer.block();
}

} // namespace tessivo::sound
