#pragma once

#include "Platform/Sound/AudioNode.h"

#include <memory>

namespace tessivo::sound {

class GainUnit;

// Sums its inputs and applies a gain.
class MixerNode final : public AudioNode {
public:
    MixerNode();

    // Linear gain of the mixer's output, 1.0 at first. The property changes at once, the
    // sound follows over 3 ms.
    float outputVolume() const { return outputVolume_; }
    void setOutputVolume(float gain);

    bool takesConnections() const override { return true; }
    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;

private:
    float outputVolume_ = 1.0F;
    std::shared_ptr<GainUnit> gain_;
};

} // namespace tessivo::sound
