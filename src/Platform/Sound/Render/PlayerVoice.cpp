#include "Platform/Sound/Render/PlayerVoice.h"

#include <algorithm>

namespace tessivo::sound {

bool PlayerVoice::render(const RenderContext& context, StereoBuffer& buffer,
                         bool first) TESSIVO_REALTIME {
    if (ring_->isFinished()) {
        return false;
    }
    const bool stopping = ring_->isStopping();
    if (stopping && !started_) {
        ring_->setFinished();
        return false;
    }
    if (!ring_->isPrebuffered()) {
        return false;
    }
    if (stopping) {
        fade_.aim(0.0F, context.rampFrames);
    }
    started_ = true;
    const auto readable = ring_->beginRead(context.frames);
    const bool fading = fade_.isMoving();
    for (std::uint32_t i = 0; i < readable.frames; ++i) {
        const float* frame = ring_->frame(readable, i);
        const float left = fading ? frame[0] * fade_.next() : frame[0];
        const float right = fading ? frame[1] * fade_.value() : frame[1];
        buffer.left[i] = first ? left : buffer.left[i] + left;
        buffer.right[i] = first ? right : buffer.right[i] + right;
    }
    ring_->endRead(readable);
    const std::uint32_t missing = context.frames - readable.frames;
    if (first) {
        std::fill_n(buffer.left.data() + readable.frames, missing, 0.0F);
        std::fill_n(buffer.right.data() + readable.frames, missing, 0.0F);
    }
    if (stopping && (!fade_.isMoving() || missing > 0)) {
        ring_->setFinished();
    } else if (missing > 0 && ring_->isMoreToCome()) {
        underruns_->fetch_add(missing, std::memory_order_relaxed);
    }
    return readable.frames > 0;
}

} // namespace tessivo::sound
