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

    // Delivers the captured frames to the handler, in that format but with at most two channels,
    // cut into buffers of bufferSize frames, until removeTap(). Frames lost to a full queue are
    // replaced by silence. Converts the rate where the format's differs from the engine's. There is
    // one tap: an installed one is removed first. A tap installed while there is no input delivers
    // in the input's format once there is one. A rate that cannot be converted ends the tap; the
    // engine's diagnostics say so. The first use of the input by a running engine restarts the
    // device: sound stops for a moment, and AudioError may come from the device.
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block);

    // Delivers all frames captured before the call, including a last short buffer, waits until the
    // handler has returned, and does not call it again. Does nothing without a tap.
    void removeTap();

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;
};

} // namespace tessivo::sound
