#include "Platform/Sound/Render/Timeline.h"

#include <chrono>
#include <cmath>

namespace tessivo::sound {

namespace {

// No cycle is as long as this. A moment that is further behind the newest cycle came while no
// cycles were running.
constexpr std::chrono::milliseconds kLongestCycle{500};

} // namespace

std::int64_t Timeline::beginCycle(const RenderCycle& cycle) TESSIVO_REALTIME {
    const std::int64_t position = next_.load(std::memory_order_relaxed) + cycle.missed;
    // Who sees a new position or time sees the odd version as well, and then reads again.
    const std::uint64_t version = version_.load(std::memory_order_relaxed);
    version_.store(version + 1, std::memory_order_relaxed);
    position_.store(position, std::memory_order_release);
    time_.store(cycle.time, std::memory_order_release);
    version_.store(version + 2, std::memory_order_release);
    frames_.store(cycle.frames);
    next_.store(position + cycle.frames);
    if (cycle.missed > 0) {
        auto& lost = cycle.input.empty() ? missedOutput_ : missed_;
        lost.fetch_add(cycle.missed, std::memory_order_relaxed);
    }
    if (cycle.missedOutput > 0) {
        missedOutput_.fetch_add(cycle.missedOutput, std::memory_order_relaxed);
    }
    return position;
}

std::optional<std::int64_t> Timeline::positionAt(Moment moment, double rate) const {
    std::uint64_t version = 0;
    std::int64_t position = 0;
    Moment time{};
    do {
        version = version_.load(std::memory_order_acquire);
        position = position_.load(std::memory_order_acquire);
        time = time_.load(std::memory_order_acquire);
    } while (version % 2 != 0 || version != version_.load(std::memory_order_relaxed));
    if (time == Moment{} || moment - time > kLongestCycle) {
        return std::nullopt;
    }
    const std::chrono::duration<double> since = moment - time;
    return position + std::llround(since.count() * rate);
}

void Timeline::forgetClock() {
    version_.fetch_add(1);
    time_.store(Moment{});
    version_.fetch_add(1);
}

} // namespace tessivo::sound
