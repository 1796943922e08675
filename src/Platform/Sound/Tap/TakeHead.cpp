#include "Platform/Sound/Tap/TakeHead.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>

namespace tessivo::sound {

TakeHead::TakeHead(std::int64_t begin, double renderRate, bool mono)
    : begin_(begin)
    , renderRate_(renderRate)
    , mono_(mono)
    , capacity_(static_cast<std::int64_t>(kTakeHeadSeconds * renderRate))
    , left_(index(capacity_))
    , right_(index(capacity_)) {}

void TakeHead::write(std::int64_t position, const float* left, const float* right,
                     std::uint32_t frames) TESSIVO_REALTIME {
    const std::int64_t from = std::clamp<std::int64_t>(position - begin_, 0, capacity_);
    const std::int64_t to = std::clamp<std::int64_t>(position + frames - begin_, 0, capacity_);
    if (position + frames <= begin_) {
        return;
    }
    if (callbackBegin_.load(std::memory_order_relaxed) < 0) {
        callbackBegin_.store(from, std::memory_order_release);
    }
    if (left != nullptr) {
        const std::int64_t skipped = begin_ + from - position;
        if (from < to) {
            std::copy_n(left + skipped, to - from, left_.data() + from);
            std::copy_n((mono_ ? left : right) + skipped, to - from, right_.data() + from);
        }
    }
    callbackEnd_.store(to, std::memory_order_release);
}

void TakeHead::endPast(std::int64_t frames) {
    pastEnd_.store(pastEnd() + frames, std::memory_order_release);
}

bool TakeHead::has(std::int64_t frame) const TESSIVO_REALTIME {
    if (frame < pastEnd_.load(std::memory_order_acquire)) {
        return true;
    }
    const std::int64_t begin = callbackBegin_.load(std::memory_order_relaxed);
    return begin >= 0 && frame >= begin && frame < callbackEnd_.load(std::memory_order_acquire);
}

} // namespace tessivo::sound
