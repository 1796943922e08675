#pragma once

#include <chrono>

namespace tessivo {

// A point in time on the one clock that commands and sound share: the system's monotonic
// clock, in nanoseconds.
using Moment = std::chrono::steady_clock::time_point;

inline Moment momentNow() {
    return std::chrono::steady_clock::now();
}

// The time stamp of a command, or `now` when it cannot be right. It may be old, because a disk may
// have kept the main thread waiting, but not older than what a take keeps in memory. A little of
// the future is allowed, because a MIDI packet may be due at the end of a cycle that has just
// begun.
inline Moment believable(Moment stamp, Moment now = momentNow()) {
    constexpr std::chrono::seconds kOldest{40};
    constexpr std::chrono::milliseconds kNewest{100};
    return stamp >= now - kOldest && stamp <= now + kNewest ? stamp : now;
}

} // namespace tessivo
