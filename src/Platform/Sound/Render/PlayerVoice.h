#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Render/PlayerRing.h"
#include "Platform/Sound/Render/Ramp.h"
#include "Platform/Sound/Render/RenderStep.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace tessivo::sound {

// A player's side on the audio callback, from its first frame to the end of its ramp: takes
// frames out of the ring, fades them out after a stop and counts underruns.
class PlayerVoice {
public:
    // Adds the frames that were missing to `underruns`.
    PlayerVoice(std::shared_ptr<PlayerRing> ring,
                std::shared_ptr<std::atomic<std::int64_t>> underruns)
        : ring_(std::move(ring))
        , underruns_(std::move(underruns)) {}

    // Any thread.
    const PlayerRing& ring() const { return *ring_; }

    // Audio callback. Adds its frames to the buffer; with `first` it overwrites the buffer.
    // Returns false when there was no frame; with `first` the buffer may have been zeroed.
    bool render(const RenderContext& context, StereoBuffer& buffer, bool first) TESSIVO_REALTIME;

private:
    const std::shared_ptr<PlayerRing> ring_;
    const std::shared_ptr<std::atomic<std::int64_t>> underruns_;
    bool started_ = false;
    Ramp fade_{1.0F};
};

} // namespace tessivo::sound
