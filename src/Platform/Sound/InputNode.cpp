#include "Platform/Sound/InputNode.h"

#include "Platform/Sound/Limits.h"
#include "Platform/Sound/NodeHost.h"

#include <algorithm>
#include <utility>

namespace tessivo::sound {

namespace {

class InputStep final : public RenderStep {
public:
    StereoBlock render(const RenderContext& context, StereoBuffer&) TESSIVO_REALTIME override {
        return context.input;
    }
};

} // namespace

AudioFormat InputNode::inputFormat() const {
    return host()->deviceFormats().input;
}

AudioFormat InputNode::outputFormat() const {
    const AudioFormat format = inputFormat();
    return host()->isConnected(*this)
               ? AudioFormat(format.sampleRate(), std::min(format.channelCount(), kGraphChannels))
               : format;
}

void InputNode::installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block) {
    host()->installTap(bufferSize, format, std::move(block));
}

void InputNode::removeTap() {
    host()->removeTap();
}

std::unique_ptr<RenderStep> InputNode::compile(PlanBuilder&) {
    return std::make_unique<InputStep>();
}

} // namespace tessivo::sound
