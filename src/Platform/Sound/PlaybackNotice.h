#pragma once

#include <cstdint>
#include <functional>

namespace tessivo::sound {

// When a scheduled file reports that it is done.
enum class NoticeWhen {
    read, // its last frame is queued: time to schedule what follows without a gap
    heard // its last frame has been heard, output latency included
};

// What a completion notice says.
struct PlaybackNotice {
    enum class Reason { done, stopped };
    Reason reason = Reason::done;
    std::uint64_t passId = 0; // what PlayerNode::scheduleFile() returned
};

// Called on the reader thread; must be short. Called exactly once for every scheduled file.
using NoticeHandler = std::function<void(const PlaybackNotice&)>;

} // namespace tessivo::sound
