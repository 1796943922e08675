#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Limits.h"

#include <array>
#include <cstdint>
#include <span>

namespace tessivo::sound {

// Stereo audio of one block of frames; null pointers mean silence. Mono audio has the same
// pointer twice.
struct StereoBlock {
    const float* left = nullptr;
    const float* right = nullptr;

    bool isSilent() const TESSIVO_REALTIME { return left == nullptr; }
};

// Memory in which a step makes its output.
struct StereoBuffer {
    std::array<float, kMaxRenderFrames> left;
    std::array<float, kMaxRenderFrames> right;

    StereoBlock block() const TESSIVO_REALTIME { return {left.data(), right.data()}; }
};

// What a step may look at.
struct RenderContext {
    StereoBlock input;                  // of the capture device
    std::span<const StereoBlock> steps; // the output of the earlier steps, by index
    std::int64_t position = 0;          // of the block's first frame on the timeline
    std::uint32_t frames = 0;           // at most kMaxRenderFrames
    std::uint32_t rampFrames = 1;       // length of a gain ramp
};

// What one node does on the audio callback. Made by the node on the main thread, owned by a
// render plan. State that has to survive an edit of the graph, such as a ramp in progress, lives
// outside and is shared with the step of the next plan.
class RenderStep {
public:
    virtual ~RenderStep() = default;
    RenderStep() = default;
    RenderStep(const RenderStep&) = delete;
    RenderStep& operator=(const RenderStep&) = delete;

    // The node's output: a block made in the buffer, or one passed on as it is.
    virtual StereoBlock render(const RenderContext& context,
                               StereoBuffer& buffer) TESSIVO_REALTIME = 0;
};

} // namespace tessivo::sound
