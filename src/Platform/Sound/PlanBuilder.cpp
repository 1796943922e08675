#include "Platform/Sound/PlanBuilder.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tessivo::sound {

PlanBuilder::PlanBuilder(const Connections& connections, bool isRunning)
    : connections_(connections)
    , isRunning_(isRunning) {}

// A node compiles its sources before its own step is complete, so theirs come first.
std::size_t PlanBuilder::compile(AudioNode& node) {
    auto step = node.compile(*this);
    steps_.push_back(std::move(step));
    return steps_.size() - 1;
}

std::vector<std::size_t> PlanBuilder::compileSources(const AudioNode& mixer) {
    std::vector<std::size_t> sources;
    for (const auto& [from, to] : connections_) {
        if (to == &mixer) {
            sources.push_back(compile(*from));
        }
    }
    return sources;
}

std::unique_ptr<RenderPlan> PlanBuilder::build(AudioNode& last, InputCapture::Targets capture,
                                               double renderRate) {
    compile(last);
    const auto rampFrames =
        std::max(1U, static_cast<std::uint32_t>(std::lround(kRampSeconds * renderRate)));
    return std::make_unique<RenderPlan>(std::move(steps_), std::move(capture), rampFrames);
}

} // namespace tessivo::sound
