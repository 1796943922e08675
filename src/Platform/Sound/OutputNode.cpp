#include "Platform/Sound/OutputNode.h"

#include "Platform/Sound/NodeHost.h"
#include "Platform/Sound/PlanBuilder.h"

namespace tessivo::sound {

namespace {

class OutputStep final : public RenderStep {
public:
    explicit OutputStep(std::size_t source)
        : source_(source) {}

    StereoBlock render(const RenderContext& context, StereoBuffer&) TESSIVO_REALTIME override {
        return context.steps[source_];
    }

private:
    std::size_t source_; // the main mixer's step
};

} // namespace

AudioFormat OutputNode::inputFormat() const {
    return host()->deviceFormats().output;
}

std::unique_ptr<RenderStep> OutputNode::compile(PlanBuilder& builder) {
    return std::make_unique<OutputStep>(builder.compileSources(*this).front());
}

} // namespace tessivo::sound
