#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Tap/TakeHead.h"

#include <cstdint>
#include <memory>

namespace tessivo::sound {

// A take that is heard as a loop: which of its frames belongs to which position.
struct TakeLoop {
    std::shared_ptr<const TakeHead> head;
    std::int64_t length = 0; // frames, at least 1
    std::int64_t zero = 0;   // a position at which frame 0 is heard; before it there is silence

    // The frame for a position from `zero` on.
    std::int64_t frameAt(std::int64_t position) const TESSIVO_REALTIME {
        return (position - zero) % length;
    }
};

} // namespace tessivo::sound
