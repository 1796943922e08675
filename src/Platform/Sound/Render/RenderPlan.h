#pragma once

#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Render/RenderStep.h"
#include "Platform/Sound/Tap/InputCapture.h"

#include <memory>
#include <vector>

namespace tessivo::sound {

// The graph as one list of steps, of all nodes that are heard, sources before the nodes that use
// them. Compiled on the main thread (PlanBuilder); after that the list does not change, and only
// the audio callback touches the plan. It owns all the memory that the callback needs.
class RenderPlan {
public:
    // The output of the last step is what is heard. What is captured goes to the
    // targets.
    RenderPlan(std::vector<std::unique_ptr<RenderStep>> steps, InputCapture::Targets capture,
               std::uint32_t rampFrames);

    // Audio callback. The position of the cycle's first frame on the timeline.
    void render(const RenderCycle& cycle, std::int64_t position) TESSIVO_REALTIME;

private:
    void renderBlock(const RenderCycle& cycle, std::int64_t position, std::uint32_t offset,
                     std::uint32_t frames) TESSIVO_REALTIME;

    std::vector<std::unique_ptr<RenderStep>> steps_;
    std::vector<StereoBlock> blocks_;   // one a step
    std::vector<StereoBuffer> buffers_; // one a step; zeroed, so that no page is missing later
    InputCapture::Targets capture_;
    std::uint32_t rampFrames_;
};

} // namespace tessivo::sound
