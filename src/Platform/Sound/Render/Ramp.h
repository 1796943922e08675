#pragma once

#include "Platform/Realtime/Realtime.h"

#include <cstdint>

namespace tessivo::sound {

// A gain that moves to its target in a straight line. Audio callback only.
class Ramp {
public:
    explicit Ramp(float value)
        : value_(value)
        , target_(value) {}

    // Moves towards the target from here on and reaches it after that many frames.
    void aim(float target, std::uint32_t frames) TESSIVO_REALTIME {
        if (target == target_) {
            return;
        }
        target_ = target;
        remaining_ = frames;
        step_ = (target - value_) / static_cast<float>(frames);
    }

    // Sets the value without a ramp.
    void jump(float target) TESSIVO_REALTIME {
        value_ = target_ = target;
        remaining_ = 0;
    }

    bool isMoving() const TESSIVO_REALTIME { return remaining_ > 0; }
    float value() const TESSIVO_REALTIME { return value_; }

    // The gain of the next frame.
    float next() TESSIVO_REALTIME {
        if (remaining_ == 0) {
            return value_;
        }
        --remaining_;
        // Ends on the target itself, so that unity gain is exact again after a ramp.
        value_ = remaining_ == 0 ? target_ : value_ + step_;
        return value_;
    }

private:
    float value_;
    float target_;
    float step_ = 0.0F;
    std::uint32_t remaining_ = 0;
};

} // namespace tessivo::sound
