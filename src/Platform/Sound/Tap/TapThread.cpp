#include "Platform/Sound/Tap/TapThread.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>
#include <utility>

namespace tessivo::sound {

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;

// At most thirty levels a second.
constexpr duration<double> kMeterInterval{1.0 / 30.0};

constexpr float kFullScale = 1.0F;

// Holes that come closer together than this are told in one line.
constexpr milliseconds kBurstPause{500};

} // namespace

struct TapThread::Meter {
    Meter(std::uint32_t bufferSize, double rate, MeterBlock meterBlock)
        : buffer(AudioFormat(rate, 1), bufferSize)
        , block(std::move(meterBlock)) {
        buffer.setFrameLength(bufferSize);
    }

    AudioPCMBuffer buffer;
    MeterBlock block;
    bool isOver = false; // and nobody has been told
    Clock::time_point lastTime = Clock::now();
};

TapThread::TapThread(std::shared_ptr<TapQueue> queue, double rate, const Timeline& timeline,
                     DiagnosticSink diagnostics)
    : queue_(std::move(queue))
    , rate_(rate)
    , timeline_(timeline)
    , diagnostics_(diagnostics ? std::move(diagnostics) : [](const std::string&) {}) {
    holes_.told = holes_.seen = timeline_.losses();
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

TapThread::~TapThread() = default;

void TapThread::hold(std::int64_t position) {
    const std::lock_guard lock(mutex_);
    job_.held = position;
    job_.earlierOverruns = queue_->overrunFrames();
}

void TapThread::release() {
    const std::lock_guard lock(mutex_);
    job_.held.reset();
}

void TapThread::install(Tap::Request request) {
    auto tap = std::make_shared<Tap>(std::move(request), rate_);
    const std::lock_guard lock(mutex_);
    end_ = INT64_MAX;
    job_.tap = std::move(tap);
    if (!std::exchange(job_.held, std::nullopt)) {
        job_.earlierOverruns = queue_->overrunFrames();
    }
    woken_ = true;
    changed_.notify_all();
}

void TapThread::setMeter(std::uint32_t bufferSize, MeterBlock block) {
    auto meter = block ? std::make_shared<Meter>(bufferSize, rate_, std::move(block)) : nullptr;
    const std::lock_guard lock(mutex_);
    job_.meter.swap(meter);
}

std::optional<std::int64_t> TapThread::remove(std::int64_t end, duration<double> patience) {
    std::unique_lock lock(mutex_);
    if (!job_.tap) {
        return std::nullopt;
    }
    end_ = end;
    job_.ending = {end, Clock::now() + std::chrono::duration_cast<Clock::duration>(patience)};
    woken_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !job_.tap; });
    return lastLength_;
}

// The callback cannot wake this thread, because that would be a system call. So the thread wakes
// by itself when the next buffer should be complete, but not more often than cycles come.
TapThread::Clock::duration TapThread::timeToNextWork() const {
    double seconds = 0.05;
    if (job_.ending) {
        seconds = 0.001;
    } else if (job_.tap) {
        seconds = job_.tap->secondsToNextBuffer();
    } else if (job_.meter) {
        const auto missing = meterNext_ + job_.meter->buffer.frameCapacity() - queue_->end();
        seconds = static_cast<double>(missing) / rate_;
    }
    const double shortest =
        job_.ending ? 0.0 : std::clamp(timeline_.cycleFrames() / rate_, 0.002, 0.05);
    return std::chrono::duration_cast<Clock::duration>(
        duration<double>(std::clamp(seconds, shortest, 0.05)));
}

void TapThread::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        changed_.wait_for(lock, stop, timeToNextWork(), [this] { return woken_; });
        woken_ = false;
        Job job = job_;
        lock.unlock();
        const bool ended = workOrEnd(job);
        // What the blocks hold is released here, on the thread that used it.
        const auto tap = std::exchange(job.tap, nullptr);
        job = {};
        lock.lock();
        if (ended && job_.tap == tap) {
            lastLength_ = tap->deliveredBefore(job_.ending ? job_.ending->position : tap->next());
            job_.tap = nullptr;
            job_.ending.reset();
            current_ = nullptr;
            changed_.notify_all();
        }
    }
    lock.unlock();
    tellHoles(true);
}

bool TapThread::workOrEnd(const Job& job) {
    try {
        return work(job);
    } catch (const std::exception& error) {
        diagnostics_((job.tap ? "The input's tap ended: " : "The input's meter ended: ") +
                     std::string(error.what()));
        if (job.tap) {
            return true;
        }
        const std::lock_guard lock(mutex_);
        if (job_.meter == job.meter) {
            job_.meter = nullptr;
        }
        return false;
    }
}

// Returns whether the tap has ended.
bool TapThread::work(const Job& job) {
    if (job.tap && job.tap.get() != current_) {
        current_ = job.tap.get();
        meterNext_ = job.tap->next();
    }
    queue_->receive();
    bool ended = false;
    if (job.tap) {
        ended = deliver(job);
    } else if (job.meter) {
        measure(*job.meter, queue_->end());
    }
    releaseFrames(job);
    tellHoles(ended);
    if (ended) {
        tellLosses(job);
    }
    return ended;
}

bool TapThread::deliver(const Job& job) {
    const auto limit = [&] {
        return std::min(end_.load(), queue_->end());
    };
    const bool last = job.ending && (queue_->end() >= job.ending->position ||
                                     Clock::now() >= job.ending->deadline);
    if (!job.tap->completeHead(*queue_, limit()) && !last) {
        return false;
    }
    while (job.tap->step(*queue_, limit())) {
        if (job.meter) {
            measure(*job.meter, job.tap->delivered());
        }
        releaseFrames(job);
        queue_->receive();
    }
    if (last) {
        job.tap->finish();
        meterNext_ = job.tap->next();
    } else if (job.meter) {
        measure(*job.meter, job.tap->delivered());
    }
    return last;
}

void TapThread::measure(Meter& meter, std::int64_t limit) {
    const std::int64_t size = meter.buffer.frameCapacity();
    if (static_cast<double>(limit - meterNext_) > kTapHistorySeconds * rate_) {
        meterNext_ = limit - size;
    }
    if (limit - meterNext_ < size) {
        return;
    }
    const std::int64_t whole = (limit - meterNext_) / size * size;
    meter.isOver |= queue_->reaches(meterNext_, static_cast<std::uint32_t>(whole), kFullScale);
    if (const auto now = Clock::now(); now - meter.lastTime >= kMeterInterval) {
        meter.lastTime = now;
        queue_->copy(meterNext_, meter.buffer.frameCapacity(), 0, meter.buffer.channel(0).data());
        meter.block(meter.buffer, std::exchange(meter.isOver, false));
    }
    meterNext_ += whole;
}

void TapThread::releaseFrames(const Job& job) {
    const auto history = static_cast<std::int64_t>(kTapHistorySeconds * rate_);
    std::int64_t before = queue_->end() - history;
    if (job.held) {
        before = std::min(before, *job.held);
    }
    if (job.tap) {
        before = std::min(before, job.tap->next());
        if (job.meter) {
            before = std::min(before, meterNext_);
        }
    }
    queue_->release(before);
}

// At the end of a take.
void TapThread::tellLosses(const Job& job) {
    const std::int64_t silent = job.tap->silentFrames();
    const std::int64_t overruns = std::min(queue_->overrunFrames() - job.earlierOverruns, silent);
    if (overruns > 0) {
        diagnostics_("The disk was blocked for too long: " + std::to_string(overruns) +
                     " captured frames were lost and replaced by silence");
    }
    if (const std::int64_t holes = silent - overruns; holes > 0) {
        diagnostics_("The take has gaps: " + std::to_string(holes) +
                     " frames of the input were lost and replaced by silence");
    }
}

void TapThread::tellHoles(bool atOnce) {
    const auto time = Clock::now();
    if (const auto losses = timeline_.losses(); losses != holes_.seen) {
        holes_.seen = losses;
        holes_.lastSeen = time;
    }
    if (holes_.seen == holes_.told || (!atOnce && time - holes_.lastSeen < kBurstPause)) {
        return;
    }
    const auto text = [&](std::int64_t frames) {
        const auto length = std::lround(1000.0 * static_cast<double>(frames) / rate_);
        return std::to_string(frames) + " frames (" + std::to_string(length) + " ms)";
    };
    const std::int64_t input = holes_.seen.input - holes_.told.input;
    const std::int64_t output = holes_.seen.output - holes_.told.output;
    holes_.told = holes_.seen;
    std::string line = "⚠️ Sound was interrupted: ";
    if (input > 0) {
        line += text(input) + " of the input were lost";
    }
    if (output > 0) {
        line += (input > 0 ? ", " : "") + text(output) + " came too late for the speaker";
    }
    diagnostics_(line);
}

} // namespace tessivo::sound
