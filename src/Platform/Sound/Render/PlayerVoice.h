#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Render/PlayerRing.h"
#include "Platform/Sound/Render/Ramp.h"
#include "Platform/Sound/Render/RenderStep.h"
#include "Platform/Sound/Render/TakeLoop.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace tessivo::sound {

// A player's side on the audio callback, from its first frame to the end of its ramp: takes
// frames out of the ring, fades them out after a stop and counts underruns. A take's loop sounds
// from memory until the ring is in the same phase and has enough decoded; from then on it is a
// player like another.
class PlayerVoice {
public:
    // underruns: the counter to which render() adds missing frames.
    PlayerVoice(std::shared_ptr<PlayerRing> ring,
                std::shared_ptr<std::atomic<std::int64_t>> underruns,
                std::optional<TakeLoop> loop = {})
        : ring_(std::move(ring))
        , underruns_(std::move(underruns))
        , loop_(std::move(loop))
        , fromMemory_(loop_.has_value())
        , fromRing_(!fromMemory_) {}

    // Any thread.
    const PlayerRing& ring() const { return *ring_; }

    // Audio callback. Adds its frames to the buffer; with `first` it overwrites the buffer.
    // Returns false when there was no frame; with `first` the buffer may have been zeroed.
    bool render(const RenderContext& context, StereoBuffer& buffer, bool first) TESSIVO_REALTIME;

private:
    void join(const RenderContext& context) TESSIVO_REALTIME;
    bool renderMemory(const RenderContext& context, StereoBuffer& buffer,
                      bool first) TESSIVO_REALTIME;
    void skipWhatIsOver(const RenderContext& context) TESSIVO_REALTIME;
    bool renderRing(const RenderContext& context, StereoBuffer& buffer,
                    bool first) TESSIVO_REALTIME;

    const std::shared_ptr<PlayerRing> ring_;
    const std::shared_ptr<std::atomic<std::int64_t>> underruns_;
    const std::optional<TakeLoop> loop_;
    bool started_ = false;
    bool fromMemory_; // both during a cross-fade
    bool fromRing_;
    bool ranDry_ = false;    // while it stopped
    std::int64_t next_ = -1; // the position of the next frame out of the ring; -1 before the first
    Ramp memoryFade_{1.0F};
    Ramp fade_{1.0F};
};

} // namespace tessivo::sound
