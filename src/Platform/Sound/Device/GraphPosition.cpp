#include "Platform/Sound/Device/GraphPosition.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace tessivo::sound {

namespace {

// A stream that converts rates has a frame more or less than its share of a cycle. A lost cycle
// has more than this.
constexpr double kUneven = 8.0; // ticks

// For so many cycles after the graph got another clock its ticks do not
// agree with its time: some cycles come twice, others late. Meanwhile the time is what counts.
constexpr int kSettlingCycles = 8;

double ticksBetween(Moment before, const pw_time& now) TESSIVO_REALTIME {
    const std::chrono::duration<double> passed = Moment(std::chrono::nanoseconds(now.now)) - before;
    return passed.count() * now.rate.denom / now.rate.num;
}

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
    double ahead = begin - end_;
    if (stream != stream_) {
        ahead = 0.0;
        settling_ = 0;
    } else if (time.rate.num != tick_.num || time.rate.denom != tick_.denom) {
        doubted_ = 0.0;
        settling_ = kSettlingCycles;
    }
    const bool isSettling = settling_ > 0;
    if (isSettling) {
        --settling_;
        ahead = ticksBetween(endTime_, time);
        end_ = begin - ahead;
    }
    double gap = 0.0;
    if (ahead > kUneven) {
        gap = std::min(ahead, doubted_);
        ahead -= gap;
        end_ += gap;
    } else if (!isSettling || ahead > -kUneven) {
        ahead = 0.0;
        end_ = begin;
    }
    doubted_ = ahead > kUneven ? ahead : 0.0;
    stream_ = stream;
    tick_ = time.rate;
    end_ += frames / framesPerTick;
    const std::chrono::duration<double> late(ahead * time.rate.num / time.rate.denom);
    const Moment first =
        Moment(std::chrono::nanoseconds(time.now)) - std::chrono::round<Moment::duration>(late);
    endTime_ = first + std::chrono::round<Moment::duration>(
                           std::chrono::duration<double>(frames / renderRate));
    return {first, static_cast<std::uint32_t>(std::lround(gap * framesPerTick))};
}

} // namespace tessivo::sound
