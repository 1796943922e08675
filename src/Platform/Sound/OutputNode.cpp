#include "Platform/Sound/OutputNode.h"

#include "Platform/Sound/NodeHost.h"
#include "Platform/Sound/PlanBuilder.h"
#include "Platform/Sound/Render/OutputLimit.h"

#include <utility>

namespace tessivo::sound {

namespace {

class OutputStep final : public RenderStep {
public:
    OutputStep(std::shared_ptr<OutputLimit> limit, std::size_t source)
        : limit_(std::move(limit))
        , source_(source) {}

    StereoBlock render(const RenderContext& context,
                       StereoBuffer& buffer) TESSIVO_REALTIME override {
        return limit_->apply(context.steps[source_], context.frames, buffer);
    }

private:
    std::shared_ptr<OutputLimit> limit_;
    std::size_t source_; // the main mixer's step
};

} // namespace

OutputNode::OutputNode()
    : limit_(std::make_shared<OutputLimit>()) {}

AudioFormat OutputNode::inputFormat() const {
    return host()->deviceFormats().output;
}

const std::string& OutputNode::deviceName() const {
    return host()->deviceFormats().outputName;
}

std::unique_ptr<RenderStep> OutputNode::compile(PlanBuilder& builder) {
    return std::make_unique<OutputStep>(limit_, builder.compileSources(*this).front());
}

} // namespace tessivo::sound
