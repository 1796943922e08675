#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Render/RenderStep.h"
#include "Platform/Sound/Tap/TapQueue.h"

#include <memory>
#include <vector>

namespace tessivo::sound {

// One immutable picture of the graph: the steps of all nodes that are heard, sources before
// the mixers that use them. Compiled on the main thread (PlanBuilder), followed by the audio
// callback. It owns all the memory that the callback needs for that.
class RenderPlan {
public:
    // The output of the last step is what is heard. The tap may be none.
    RenderPlan(std::vector<std::unique_ptr<RenderStep>> steps, std::shared_ptr<TapQueue> tap,
               std::uint32_t rampFrames);

    // Audio callback.
    void render(const RenderCycle& cycle) TESSIVO_REALTIME;

private:
    void renderBlock(const RenderCycle& cycle, std::uint32_t offset,
                     std::uint32_t frames) TESSIVO_REALTIME;

    std::vector<std::unique_ptr<RenderStep>> steps_;
    std::vector<StereoBlock> blocks_; // one a step
    std::vector<StereoBuffer>
        buffers_; // one a step; written once at first, so that the callback causes no page fault
    std::shared_ptr<TapQueue> tap_;
    std::uint32_t rampFrames_;
};

} // namespace tessivo::sound
