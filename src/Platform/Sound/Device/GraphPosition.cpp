#include "Platform/Sound/Device/GraphPosition.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace tessivo::sound {

namespace {

// A stream that converts rates has a frame more or less than its share of a cycle. A lost cycle
// has more than this.
constexpr double kUneven = 8.0; // ticks

} // namespace

GraphPosition::Cycle GraphPosition::begin(const pw_stream* stream, const pw_time& time,
                                          std::uint32_t frames,
                                          double renderRate) TESSIVO_REALTIME {
    if (time.rate.num == 0 || time.rate.denom == 0) {
        stream_ = nullptr;
        return {};
    }
    const double framesPerTick = renderRate * time.rate.num / time.rate.denom;
    const auto begin = static_cast<double>(time.ticks);
    const bool goesOn =
        stream == stream_ && time.rate.num == tick_.num && time.rate.denom == tick_.denom;
    // With another clock the stream's ticks go on from where they were, or start again.
    double ahead = goesOn ? begin - end_ : 0.0;
    double gap = 0.0;
    if (ahead > kUneven) {
        gap = std::min(ahead, doubted_);
        ahead -= gap;
        end_ += gap;
    } else {
        ahead = 0.0;
        end_ = begin;
    }
    doubted_ = ahead > kUneven ? ahead : 0.0;
    stream_ = stream;
    tick_ = time.rate;
    end_ += frames / framesPerTick;
    const std::chrono::duration<double> late(ahead * time.rate.num / time.rate.denom);
    return {Moment(std::chrono::nanoseconds(time.now)) - std::chrono::round<Moment::duration>(late),
            static_cast<std::uint32_t>(std::lround(gap * framesPerTick))};
}

} // namespace tessivo::sound
