#include "Platform/Sound/Render/RenderPlan.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

RenderPlan::RenderPlan(std::vector<std::unique_ptr<RenderStep>> steps,
                       InputCapture::Targets capture, std::uint32_t rampFrames)
    : steps_(std::move(steps))
    , blocks_(steps_.size())
    , buffers_(steps_.size())
    , capture_(std::move(capture))
    , rampFrames_(rampFrames) {}

void RenderPlan::render(const RenderCycle& cycle, std::int64_t position) TESSIVO_REALTIME {
    for (std::uint32_t offset = 0; offset < cycle.frames; offset += kMaxRenderFrames) {
        renderBlock(cycle, position + offset, offset,
                    std::min(kMaxRenderFrames, cycle.frames - offset));
    }
}

void RenderPlan::renderBlock(const RenderCycle& cycle, std::int64_t position, std::uint32_t offset,
                             std::uint32_t frames) TESSIVO_REALTIME {
    RenderContext context{{}, blocks_, position, frames, rampFrames_};
    if (!cycle.input.empty()) {
        context.input.left = cycle.input.front() + offset;
        context.input.right = cycle.input.size() > 1 ? cycle.input[1] + offset : context.input.left;
    }
    // The head comes first: the tap thread takes what it lacks from the queue.
    if (capture_.head) {
        capture_.head->write(position, context.input.left, context.input.right, frames);
    }
    if (capture_.queue) {
        capture_.queue->push(position, context.input.left, context.input.right, frames);
    }
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        blocks_[i] = steps_[i]->render(context, buffers_[i]);
    }
    if (cycle.output.empty()) {
        return;
    }
    const StereoBlock heard = blocks_.back();
    if (heard.isSilent()) {
        std::fill_n(cycle.output[0] + offset, frames, 0.0F);
        std::fill_n(cycle.output[1] + offset, frames, 0.0F);
    } else {
        std::copy_n(heard.left, frames, cycle.output[0] + offset);
        std::copy_n(heard.right, frames, cycle.output[1] + offset);
    }
}

} // namespace tessivo::sound
