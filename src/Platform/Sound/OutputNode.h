#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioNode.h"

namespace tessivo::sound {

// The default playback device, which plays what the main mixer puts out. Only an engine makes
// it.
class OutputNode final : public AudioNode {
public:
    // The playback device's format; no channels when there is none. A snapshot like
    // InputNode::inputFormat().
    AudioFormat inputFormat() const;

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;
};

} // namespace tessivo::sound
