#include "Platform/Sound/MixerNode.h"

#include "Platform/Sound/PlanBuilder.h"
#include "Platform/Sound/Render/GainUnit.h"

#include <utility>
#include <vector>

namespace tessivo::sound {

namespace {

class MixerStep final : public RenderStep {
public:
    MixerStep(std::shared_ptr<GainUnit> gain, std::vector<std::size_t> sources)
        : gain_(std::move(gain))
        , sources_(std::move(sources)) {}

    StereoBlock render(const RenderContext& context,
                       StereoBuffer& buffer) TESSIVO_REALTIME override {
        StereoBlock sum;
        for (const auto source : sources_) {
            const StereoBlock block = context.steps[source];
            if (sum.isSilent()) {
                // A single source is passed on as it is: adding zero would change a negative
                // zero.
                sum = block;
            } else if (!block.isSilent()) {
                for (std::uint32_t i = 0; i < context.frames; ++i) {
                    buffer.left[i] = sum.left[i] + block.left[i];
                    buffer.right[i] = sum.right[i] + block.right[i];
                }
                sum = buffer.block();
            }
        }
        return gain_->apply(sum, context, buffer);
    }

private:
    std::shared_ptr<GainUnit> gain_;
    std::vector<std::size_t> sources_; // indices of earlier steps
};

} // namespace

MixerNode::MixerNode()
    : gain_(std::make_shared<GainUnit>(outputVolume_)) {}

void MixerNode::setOutputVolume(float gain) {
    outputVolume_ = gain;
    gain_->setTarget(gain);
}

std::unique_ptr<RenderStep> MixerNode::compile(PlanBuilder& builder) {
    return std::make_unique<MixerStep>(gain_, builder.compileSources(*this));
}

} // namespace tessivo::sound
