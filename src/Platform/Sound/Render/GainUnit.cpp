#include "Platform/Sound/Render/GainUnit.h"

namespace tessivo::sound {

StereoBlock GainUnit::apply(StereoBlock block, const RenderContext& context,
                            StereoBuffer& buffer) TESSIVO_REALTIME {
    const float target = target_.load(std::memory_order_relaxed);
    if (isFirstBlock_) {
        ramp_.jump(target);
        isFirstBlock_ = false;
    } else {
        ramp_.aim(target, context.rampFrames);
    }
    if (block.isSilent() || (!ramp_.isMoving() && ramp_.value() == 0.0F)) {
        // The ramp goes on in silence, so that it is over when sound comes back.
        for (std::uint32_t i = 0; i < context.frames && ramp_.isMoving(); ++i) {
            ramp_.next();
        }
        return {};
    }
    if (!ramp_.isMoving() && ramp_.value() == 1.0F) {
        return block;
    }
    for (std::uint32_t i = 0; i < context.frames; ++i) {
        const float gain = ramp_.next();
        buffer.left[i] = block.left[i] * gain;
        buffer.right[i] = block.right[i] * gain;
    }
    return buffer.block();
}

} // namespace tessivo::sound
