#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Render/RenderStep.h"

#include <atomic>
#include <cstdint>

namespace tessivo::sound {

// Stands between the main mix and the speaker: what is no finite number becomes silence, and
// nothing is louder than kLoudestOutput. Other samples pass bit for bit.
class OutputLimit {
public:
    // Audio callback. Passes the block on untouched, or makes a limited one in the buffer.
    StereoBlock apply(StereoBlock block, std::uint32_t frames,
                      StereoBuffer& buffer) TESSIVO_REALTIME;

    // Any thread. Whether a block had to be limited since construction.
    bool hasActed() const { return hasActed_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> hasActed_{false};
};

} // namespace tessivo::sound
