#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Render/Ramp.h"
#include "Platform/Sound/Render/RenderStep.h"

#include <atomic>

namespace tessivo::sound {

// A node's gain: the main thread sets it, the audio callback follows in a ramp. The callback
// reads the latest value once a block.
class GainUnit {
public:
    explicit GainUnit(float gain)
        : target_(gain)
        , ramp_(gain) {}

    // Main thread. Linear gain.
    void setTarget(float gain) { target_.store(gain, std::memory_order_relaxed); }

    // Audio callback. Scales the block into the buffer, or passes it on untouched at unity
    // gain. The block may lie in that buffer.
    StereoBlock apply(StereoBlock block, const RenderContext& context,
                      StereoBuffer& buffer) TESSIVO_REALTIME;

private:
    std::atomic<float> target_;
    bool isFirstBlock_ = true; // what is set before the first block needs no ramp
    Ramp ramp_;
};

} // namespace tessivo::sound
