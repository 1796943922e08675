#pragma once

#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/Render/RenderPlan.h"

#include <map>
#include <memory>
#include <vector>

namespace tessivo::sound {

// Compiles the graph into a render plan, one step a node. Main thread.
class PlanBuilder {
public:
    // Where each connected node's output goes.
    using Connections = std::map<AudioNode*, AudioNode*>;

    PlanBuilder(const Connections& connections, bool isRunning);

    // For nodes. The indices of the steps of all nodes that are connected to this one.
    std::vector<std::size_t> compileSources(const AudioNode& mixer);
    // For nodes. Whether the device takes frames; if not, nothing needs to be faded out.
    bool isRunning() const { return isRunning_; }

    // For the engine: the plan of everything that reaches that node.
    std::unique_ptr<RenderPlan> build(AudioNode& last, InputCapture::Targets capture,
                                      double renderRate);

private:
    std::size_t compile(AudioNode& node);

    const Connections& connections_;
    bool isRunning_;
    std::vector<std::unique_ptr<RenderStep>> steps_;
};

} // namespace tessivo::sound
