#include "Platform/Sound/InputNode.h"

#include "Platform/Sound/Limits.h"
#include "Platform/Sound/NodeHost.h"
#include "Platform/Sound/Tap/InputCapture.h"

#include <algorithm>
#include <cstdint>
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

void InputNode::installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block,
                           std::optional<Moment> from) {
    removeTap();
    std::optional<std::int64_t> begin;
    if (from) {
        begin = host()->framesOf(*from).captured;
    }
    host()->capture().installTap(bufferSize, format, std::move(block), begin);
    host()->inputUseChanged();
}

std::optional<std::int64_t> InputNode::removeTap(std::optional<Moment> until) {
    std::optional<std::int64_t> end;
    if (until) {
        end = host()->framesOf(*until).captured;
    }
    return host()->capture().removeTap(end);
}

void InputNode::hold(Moment since) {
    host()->capture().hold(host()->framesOf(since).captured);
    host()->inputUseChanged();
}

void InputNode::release() {
    host()->capture().release();
}

void InputNode::setMeter(std::uint32_t bufferSize, MeterBlock block) {
    host()->capture().setMeter(bufferSize, std::move(block));
    host()->inputUseChanged();
}

std::shared_ptr<const TakeHead> InputNode::takeHead() const {
    return host()->capture().targets().head;
}

double InputNode::takeLength() const {
    const auto head = takeHead();
    const std::int64_t frames = head ? host()->timeline().next() - head->begin() : 0;
    return static_cast<double>(std::max<std::int64_t>(frames, 0)) / host()->renderRate();
}

const std::string& InputNode::deviceName() const {
    return host()->deviceFormats().inputName;
}

std::unique_ptr<RenderStep> InputNode::compile(PlanBuilder&) {
    return std::make_unique<InputStep>();
}

} // namespace tessivo::sound
