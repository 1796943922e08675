#pragma once

#include "support/GraphProbe.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessivo::benchmark {

// What a listener heard, from its first cycle on: the microphone, which plays marks, and the
// speaker, both in the same cycles.
struct Listened {
    std::vector<float> microphone;
    std::vector<float> speaker;
    // Frames from the microphone to the speaker over a direct link: nobody answers sooner.
    std::int64_t linkDelay = 0;
};

// One take and its loop, as the samples tell it.
struct LoopHeard {
    enum class Fault {
        none,
        silent,    // no loop, or not twice from its first to its last frame
        broken,    // its frames are not all there, or not where they belong
        disturbed, // the microphone itself has lost cycles
    };
    Fault fault = Fault::none;
    std::int64_t first = 0;      // the mark of the loop's first frame
    std::int64_t length = 0;     // frames of the loop
    std::int64_t turnaround = 0; // frames by which the loop is behind the end of its take
    std::int64_t silence = 0;    // frames from the end of the take to the first that is heard
    std::int64_t holes = 0;      // silent frames after it
};

// Of the frames from begin to end, in which a take ends, and its loop sounds twice at least;
// until the end of the take the speaker is silent.
inline LoopHeard examine(const Listened& heard, std::size_t begin, std::size_t end) {
    using test::Mark;
    const std::vector<float>& speaker = heard.speaker;
    const auto follows = [](float sample, float next) {
        return Mark::isExact(sample) && next == Mark::sample(0, Mark::frame(sample) + 1);
    };
    // Without any cycle lost up to there, the frames of microphone and speaker tell the time.
    const auto faultUntil = [&](std::size_t last, LoopHeard::Fault fault) {
        for (std::size_t at = begin + 1; at < last; ++at) {
            if (!follows(heard.microphone[at - 1], heard.microphone[at])) {
                return LoopHeard::Fault::disturbed;
            }
        }
        return fault;
    };
    // Looks for frames that are no fade: whole numbers, each one after the other.
    const auto plainFrom = [&](std::size_t at) {
        constexpr std::size_t kEnough = 16;
        for (std::size_t length = 0; at < end; ++at) {
            length = follows(speaker[at - 1], speaker[at]) ? length + 1 : 0;
            if (length == kEnough) {
                return at - kEnough;
            }
        }
        return end;
    };

    std::size_t audible = begin;
    while (audible < end && speaker[audible] == 0.0F) {
        ++audible;
    }
    const std::size_t plain = plainFrom(audible + 1);
    std::size_t last = plain; // of the loop: after it, the first frame follows, or a fade to it
    while (last + 1 < end && follows(speaker[last], speaker[last + 1])) {
        ++last;
    }
    // A frame from the middle, which no fade changes when it is heard again.
    const std::size_t middle = plain + (last - plain) / 2;
    std::size_t again = last + 1;
    while (again + 1 < end &&
           (speaker[again] != speaker[middle] || speaker[again + 1] != speaker[middle + 1])) {
        ++again;
    }
    if (again + 1 >= end) {
        return {.fault = faultUntil(end, LoopHeard::Fault::silent)};
    }

    LoopHeard loop{.fault = faultUntil(again, LoopHeard::Fault::none)};
    loop.length = static_cast<std::int64_t>(again - middle);
    const std::int64_t lastMark = Mark::frame(speaker[last]);
    loop.first = (lastMark - loop.length + 1 + Mark::kFrames) % Mark::kFrames;
    const std::size_t next = plainFrom(last + 2);
    if (next >= end ||
        speaker[next] != Mark::sample(0, loop.first + static_cast<std::int64_t>(next - last - 1))) {
        return {.fault = faultUntil(end, LoopHeard::Fault::broken)};
    }
    // The microphone's marks go on frame by frame, so its frame with that mark is counted.
    const std::int64_t now = Mark::frame(heard.microphone[begin]);
    std::int64_t ahead = (lastMark - now + Mark::kFrames) % Mark::kFrames;
    ahead -= ahead > Mark::kFrames / 2 ? Mark::kFrames : 0;
    const std::int64_t takeEnd = static_cast<std::int64_t>(begin) + ahead + 1;
    const std::int64_t wouldBe = takeEnd + heard.linkDelay; // where its next frame is heard
    loop.silence = static_cast<std::int64_t>(audible) - wouldBe;
    // From the loop's first frame on to its last one the speaker is a whole loop behind.
    loop.turnaround = static_cast<std::int64_t>(last) - (loop.length - 1) - wouldBe;
    for (std::size_t at = audible; at < end; ++at) {
        loop.holes += speaker[at] == 0.0F ? 1 : 0;
    }
    return loop;
}

} // namespace tessivo::benchmark
