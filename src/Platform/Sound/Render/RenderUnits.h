#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Device/AudioDevice.h"
#include "Platform/Sound/Limits.h"
#include "Platform/Sound/Render/PlayerStream.h"
#include "Platform/Sound/Render/Ramp.h"
#include "Platform/Sound/Tap/TapQueue.h"

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

// What the nodes are on the audio callback, and the plan that it follows.
namespace tessivo::sound {

// Stereo audio of one stretch of frames; no pointers means silence. Mono audio has the same
// pointer twice.
struct RenderBlock {
    const float* left = nullptr;
    const float* right = nullptr;

    bool isSilent() const TESSIVO_REALTIME { return left == nullptr; }
};

struct RenderScratch {
    std::array<float, kMaxRenderFrames> left;
    std::array<float, kMaxRenderFrames> right;
};

// A gain that the main thread sets and the callback follows in a ramp. The main thread
// writes, the callback reads the latest value at the beginning of a stretch.
class GainUnit {
public:
    explicit GainUnit(float gain)
        : target_(gain)
        , ramp_(gain) {}

    void setTarget(float gain) { target_.store(gain, std::memory_order_relaxed); }

    // Scales the block into the scratch, or passes it on untouched at unity gain.
    RenderBlock apply(RenderBlock block, RenderScratch& scratch, std::uint32_t frames,
                      std::uint32_t rampFrames) TESSIVO_REALTIME;

private:
    std::atomic<float> target_;
    bool heard_ = false; // from the first stretch on a change has to ramp
    Ramp ramp_;
};

// The callback's side of a player node. It outlives plans, so that its gain's ramp does too.
class PlayerUnit {
public:
    explicit PlayerUnit(float volume)
        : gain(volume) {}

    GainUnit gain;
};

// One immutable picture of the graph, compiled on the main thread. It owns all the memory
// that the callback needs to follow it.
class RenderPlan {
public:
    struct Mixer {
        std::shared_ptr<GainUnit> gain;
        std::vector<std::size_t> sources; // indices of earlier steps
    };
    struct Player {
        std::shared_ptr<PlayerUnit> unit;
        std::vector<std::shared_ptr<PlayerStream>> streams; // the sounding one and fading ones
    };
    struct Input {};
    using Step = std::variant<Input, Mixer, Player>;

    RenderPlan(std::vector<Step> steps, std::shared_ptr<TapQueue> tap, std::uint32_t rampFrames);

    // Follows the plan for at most kMaxRenderFrames frames from that offset of the cycle.
    void render(const RenderCycle& cycle, std::uint32_t offset,
                std::uint32_t frames) TESSIVO_REALTIME;

private:
    RenderBlock renderStep(const Mixer& mixer, std::size_t index,
                           std::uint32_t frames) TESSIVO_REALTIME;
    RenderBlock renderStep(const Player& player, std::size_t index,
                           std::uint32_t frames) TESSIVO_REALTIME;

    std::vector<Step> steps_; // the last one is what is heard
    std::vector<RenderBlock> blocks_;
    std::vector<RenderScratch> scratch_;
    std::shared_ptr<TapQueue> tap_;
    std::uint32_t rampFrames_;
};

} // namespace tessivo::sound
