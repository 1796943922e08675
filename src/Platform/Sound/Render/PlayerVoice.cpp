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
    if (!fromMemory_ && !ring_->isPrebuffered()) {
        return false;
    }
    if (fromMemory_ && !started_ && context.position > loop_->zero) {
        // In the middle of the loop.
        memoryFade_.jump(0.0F);
        memoryFade_.aim(1.0F, context.rampFrames);
    }
    started_ = true;
    if (stopping) {
        memoryFade_.aim(0.0F, context.rampFrames);
        fade_.aim(0.0F, context.rampFrames);
    } else if (!fromRing_ && ring_->isPrebuffered()) {
        join(context);
    }
    bool sounds = false;
    if (fromMemory_) {
        sounds = renderMemory(context, buffer, first);
        fromMemory_ = !fromRing_ || memoryFade_.isMoving();
    }
    if (fromRing_) {
        sounds = renderRing(context, buffer, first && !sounds) || sounds;
    }
    if (stopping && (ranDry_ || (!(fromMemory_ && memoryFade_.isMoving()) &&
                                 !(fromRing_ && fade_.isMoving())))) {
        ring_->setFinished();
    }
    return sounds;
}

// The ring takes over at a frame that both have. What is over by now is skipped, however late
// the file came.
void PlayerVoice::join(const RenderContext& context) TESSIVO_REALTIME {
    const std::int64_t over = context.position - ring_->joinPosition();
    ring_->skip(std::max<std::int64_t>(0, over - ring_->playedFrames()));
    const std::int64_t enough = std::int64_t{context.frames} * 2;
    if (ring_->playedFrames() != over || memoryFade_.isMoving() || ring_->queuedFrames() < enough) {
        return;
    }
    fromRing_ = true;
    if (ring_->joinResembles()) {
        memoryFade_.aim(0.0F, context.rampFrames);
        fade_.jump(0.0F);
        fade_.aim(1.0F, context.rampFrames);
    } else {
        fromMemory_ = false;
    }
}

bool PlayerVoice::renderMemory(const RenderContext& context, StereoBuffer& buffer,
                               bool first) TESSIVO_REALTIME {
    const TakeHead& head = *loop_->head;
    std::int64_t missing = 0;
    std::int64_t frame = std::max<std::int64_t>(0, loop_->frameAt(context.position));
    for (std::uint32_t i = 0; i < context.frames; ++i) {
        float left = 0.0F;
        float right = 0.0F;
        const float gain = memoryFade_.next();
        if (context.position + i >= loop_->zero) {
            if (head.has(frame)) {
                const bool exact = gain == 1.0F;
                left = exact ? head.left(frame) : head.left(frame) * gain;
                right = exact ? head.right(frame) : head.right(frame) * gain;
            } else {
                ++missing;
            }
            frame = frame + 1 == loop_->length ? 0 : frame + 1;
        }
        buffer.left[i] = first ? left : buffer.left[i] + left;
        buffer.right[i] = first ? right : buffer.right[i] + right;
    }
    if (missing > 0) {
        underruns_->fetch_add(missing, std::memory_order_relaxed);
    }
    return true;
}

// What would have been heard in a lost cycle is over, and a take's loop stays in its phase also
// where the disk did not deliver.
void PlayerVoice::skipWhatIsOver(const RenderContext& context) TESSIVO_REALTIME {
    const std::int64_t due = loop_ ? ring_->joinPosition() + ring_->playedFrames() : next_;
    if (due >= 0 && context.position > due) {
        ring_->skip(context.position - due);
    }
    next_ = context.position + context.frames;
}

bool PlayerVoice::renderRing(const RenderContext& context, StereoBuffer& buffer,
                             bool first) TESSIVO_REALTIME {
    skipWhatIsOver(context);
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
    if (ring_->isStopping()) {
        ranDry_ = missing > 0;
    } else if (missing > 0 && ring_->isMoreToCome()) {
        underruns_->fetch_add(missing, std::memory_order_relaxed);
    }
    return readable.frames > 0;
}

} // namespace tessivo::sound
