#pragma once

#include "Platform/Realtime/Moment.h"
#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioNode.h"
#include "Platform/Sound/Tap/TapHandler.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tessivo::sound {

class TakeHead;

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
    // bufferSize frames, until removeTap(): from the frame that holds the sound made at `from`,
    // which may lie a second back, or from the next one. Converts the rate where the format's
    // differs from the engine's. There is one tap: an installed one is removed first. A tap
    // installed while there is no input delivers in the input's format once there is one.
    // A rate that cannot be converted ends the tap; the engine's diagnostics say so. Frames
    // that the system lost are silence of the same length.
    void installTap(std::uint32_t bufferSize, const AudioFormat& format, TapHandler block,
                    std::optional<Moment> from = {});

    // Delivers all frames before the sound made at `until`, or all captured before the call,
    // the last short buffer included, and returns when the block has had them; the block is
    // not called again. Waits for frames that are due, but not for a server that has fallen
    // silent, and for as long as the block does. When `until` lies back, the block has already
    // had what came after it: the result is how many of the frames it had belong to the tap,
    // nothing without one.
    std::optional<std::int64_t> removeTap(std::optional<Moment> until = {});

    // What is captured from that moment on is kept, up to 40 s, until the next installTap() or
    // release(): a file may take long to be made. A later moment may follow an earlier one.
    void hold(Moment since);
    void release();

    // Gives the block a buffer of the first channel, at the engine's rate, at most
    // thirty times a second, a take's frames after the tap's block, and tells it of samples at full
    // scale, also of those that lay between two buffers. None ends it; the block may be called once
    // more.
    void setMeter(std::uint32_t bufferSize, MeterBlock block);

    // The beginning of the take that the tap delivers, in memory; none without a tap.
    std::shared_ptr<const TakeHead> takeHead() const;

    // How long the tap's take is by now, seconds on the engine's timeline; 0 without a tap.
    double takeLength() const;

    // What people call the device; empty when there is none. A snapshot like inputFormat().
    const std::string& deviceName() const;

    std::unique_ptr<RenderStep> compile(PlanBuilder& builder) override;
};

} // namespace tessivo::sound
