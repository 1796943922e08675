#include "Platform/Sound/Render/RenderUnits.h"

#include <algorithm>

namespace tessivo::sound {

RenderBlock GainUnit::apply(RenderBlock block, RenderScratch& scratch, std::uint32_t frames,
                            std::uint32_t rampFrames) TESSIVO_REALTIME {
    const float target = target_.load(std::memory_order_relaxed);
    if (heard_) {
        ramp_.aim(target, rampFrames);
    } else {
        ramp_.jump(target);
        heard_ = true;
    }
    if (block.isSilent() || (!ramp_.isMoving() && ramp_.value() == 0.0F)) {
        // The ramp goes on in silence, so that it is over when sound comes back.
        for (std::uint32_t i = 0; i < frames && ramp_.isMoving(); ++i) {
            ramp_.next();
        }
        return {};
    }
    if (!ramp_.isMoving() && ramp_.value() == 1.0F) {
        return block;
    }
    for (std::uint32_t i = 0; i < frames; ++i) {
        const float gain = ramp_.next();
        scratch.left[i] = block.left[i] * gain;
        scratch.right[i] = block.right[i] * gain;
    }
    return {scratch.left.data(), scratch.right.data()};
}

RenderPlan::RenderPlan(std::vector<Step> steps, std::shared_ptr<TapQueue> tap,
                       std::uint32_t rampFrames)
    : steps_(std::move(steps))
    , blocks_(steps_.size())
    , scratch_(steps_.size())
    , tap_(std::move(tap))
    , rampFrames_(rampFrames) {}

RenderBlock RenderPlan::renderStep(const Mixer& mixer, std::size_t index,
                                   std::uint32_t frames) TESSIVO_REALTIME {
    auto& scratch = scratch_[index];
    RenderBlock sum;
    for (const auto source : mixer.sources) {
        const auto& block = blocks_[source];
        if (block.isSilent()) {
            continue;
        }
        if (sum.isSilent()) {
            // A single source is passed on as it is: no addition may touch its bits.
            sum = block;
            continue;
        }
        for (std::uint32_t i = 0; i < frames; ++i) {
            scratch.left[i] = sum.left[i] + block.left[i];
            scratch.right[i] = sum.right[i] + block.right[i];
        }
        sum = {scratch.left.data(), scratch.right.data()};
    }
    return mixer.gain->apply(sum, scratch, frames, rampFrames_);
}

RenderBlock RenderPlan::renderStep(const Player& player, std::size_t index,
                                   std::uint32_t frames) TESSIVO_REALTIME {
    auto& scratch = scratch_[index];
    RenderBlock sum;
    for (const auto& stream : player.streams) {
        if (stream->render(scratch.left.data(), scratch.right.data(), frames, rampFrames_,
                           sum.isSilent())) {
            sum = {scratch.left.data(), scratch.right.data()};
        }
    }
    return player.unit->gain.apply(sum, scratch, frames, rampFrames_);
}

void RenderPlan::render(const RenderCycle& cycle, std::uint32_t offset,
                        std::uint32_t frames) TESSIVO_REALTIME {
    RenderBlock input;
    if (!cycle.input.empty()) {
        input.left = cycle.input.front() + offset;
        input.right = cycle.input.size() > 1 ? cycle.input[1] + offset : input.left;
    }
    if (tap_) {
        tap_->push(input.left, input.right, frames);
    }
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        const auto& step = steps_[i];
        if (const auto* mixer = std::get_if<Mixer>(&step)) {
            blocks_[i] = renderStep(*mixer, i, frames);
        } else if (const auto* player = std::get_if<Player>(&step)) {
            blocks_[i] = renderStep(*player, i, frames);
        } else {
            blocks_[i] = input;
        }
    }
    if (cycle.output.empty()) {
        return;
    }
    const RenderBlock heard = blocks_.empty() ? RenderBlock{} : blocks_.back();
    if (heard.isSilent()) {
        std::fill_n(cycle.output[0] + offset, frames, 0.0F);
        std::fill_n(cycle.output[1] + offset, frames, 0.0F);
    } else {
        std::copy_n(heard.left, frames, cycle.output[0] + offset);
        std::copy_n(heard.right, frames, cycle.output[1] + offset);
    }
}

} // namespace tessivo::sound
