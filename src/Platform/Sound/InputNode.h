#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/Tap/TapHandler.h"

#include <cstdint>

namespace tessivo::sound {

// The default capture device. Only an engine makes it.
class InputNode final : public AudioNode {
public:
    // The capture device's format; no channels when there is no device. A snapshot: it
    // changes only with the engine's configuration-change notice.
    AudioFormat inputFormat() const;

    // The format in which the node delivers audio over its connection: the device's, with
    // at most two channels once it is connected.
    AudioFormat outputFormat() const;

    // Delivers every captured frame to the block, in that format, cut into buffers of
    // bufferSize frames, until removeTap(). Converts the rate where the format's differs
    // from the engine's. There is one tap: an installed one is removed first. A tap
    // installed while there is no input delivers in the input's format once there is one.
    // A rate that cannot be converted ends the tap; the engine's diagnostics say so.
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block);

    // Delivers all frames captured before the call, the last short buffer included, and
    // returns when the block has had them; the block is not called again. Harmless without
    // a tap. Waits for as long as the block does.
    void removeTap();

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;
};

} // namespace tessivo::sound
