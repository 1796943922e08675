#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioNode.h"

#include <memory>
#include <string>

namespace tessivo::sound {

class OutputLimit;

// The default playback device, which plays what the main mixer puts out, within limits. Only an
// engine makes it.
class OutputNode final : public AudioNode {
public:
    OutputNode();

    // The playback device's format; no channels when there is none. A snapshot like
    // InputNode::inputFormat().
    AudioFormat inputFormat() const;

    // What people call the device; empty when there is none. A snapshot likewise.
    const std::string& deviceName() const;

    const std::shared_ptr<OutputLimit>& limit() const { return limit_; }

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;

private:
    std::shared_ptr<OutputLimit> limit_;
};

} // namespace tessivo::sound
