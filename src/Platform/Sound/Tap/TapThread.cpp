#include "Platform/Sound/Tap/TapThread.h"

#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <chrono>

namespace tessivo::sound {

struct TapThread::Tap {
    Tap(std::shared_ptr<TapQueue> tapQueue, double rate, std::uint32_t bufferSize,
        const AudioFormat& format, TapBlock tapBlock)
        : queue(std::move(tapQueue))
        , queueRate(rate)
        , buffer(format, bufferSize)
        , block(std::move(tapBlock)) {
        if (format.sampleRate() != rate) {
            converter.emplace(rate, format.sampleRate(), format.channelCount());
        }
    }

    std::shared_ptr<TapQueue> queue;
    double queueRate;
    AudioPCMBuffer buffer; // being filled
    TapBlock block;
    std::optional<RateConverter> converter;
    std::vector<float> popped;
    std::int64_t delivered = 0; // frames, at the format's rate

    // The callback cannot wake this thread, as waking is a system call. So the thread wakes
    // itself when the next buffer should be complete.
    std::chrono::duration<double> timeToNextBuffer() const {
        const double missing = buffer.frameCapacity() - buffer.frameLength();
        return std::chrono::duration<double>(
            std::clamp(missing / buffer.format().sampleRate(), 0.002, 0.05));
    }
};

TapThread::TapThread(DiagnosticSink diagnostics)
    : diagnostics_(std::move(diagnostics))
    , thread_([this] { run(); }) {}

TapThread::~TapThread() {
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void TapThread::install(std::shared_ptr<TapQueue> queue, double queueRate, std::uint32_t bufferSize,
                        const AudioFormat& format, TapBlock block) {
    auto tap =
        std::make_shared<Tap>(std::move(queue), queueRate, bufferSize, format, std::move(block));
    {
        const std::lock_guard lock(mutex_);
        tap_ = std::move(tap);
    }
    changed_.notify_all();
}

void TapThread::remove() {
    std::unique_lock lock(mutex_);
    if (!tap_) {
        return;
    }
    finishing_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !tap_; });
}

void TapThread::run() {
    std::unique_lock lock(mutex_);
    while (!quit_) {
        if (!tap_) {
            changed_.wait(lock, [this] { return quit_ || tap_; });
            continue;
        }
        if (!finishing_) {
            changed_.wait_for(lock, tap_->timeToNextBuffer(),
                              [this] { return quit_ || finishing_; });
        }
        auto tap = tap_;
        const bool finish = finishing_;
        lock.unlock();
        deliver(*tap, finish);
        if (finish) {
            if (const auto lost = tap->queue->lostFrames(); lost > 0 && diagnostics_) {
                diagnostics_("The disk was blocked for too long: " + std::to_string(lost) +
                             " captured frames were lost and replaced by silence");
            }
            // What the block holds is released here, on the thread that used it.
            tap->block = nullptr;
        }
        lock.lock();
        if (finish) {
            tap_ = nullptr;
            finishing_ = false;
            changed_.notify_all();
        }
    }
}

void TapThread::deliver(Tap& tap, bool finish) {
    if (finish) {
        tap.queue->flush();
    }
    for (;;) {
        tap.popped.clear();
        const bool more = tap.queue->pop(tap.popped, kTapChunkFrames) > 0;
        if (tap.converter) {
            append(tap, tap.converter->process(tap.popped, finish && !more));
        } else {
            append(tap, tap.popped);
        }
        if (!more) {
            break;
        }
    }
    if (finish && tap.buffer.frameLength() > 0) {
        callBlock(tap);
    }
}

void TapThread::append(Tap& tap, std::span<const float> interleaved) {
    const auto channels = tap.buffer.format().channelCount();
    std::size_t frames = interleaved.size() / channels;
    const float* source = interleaved.data();
    while (frames > 0) {
        const auto offset = tap.buffer.frameLength();
        const auto count = static_cast<std::uint32_t>(
            std::min<std::size_t>(frames, tap.buffer.frameCapacity() - offset));
        tap.buffer.setFrameLength(offset + count);
        for (std::uint32_t c = 0; c < channels; ++c) {
            const auto samples = tap.buffer.channel(c).subspan(offset);
            for (std::size_t i = 0; i < count; ++i) {
                samples[i] = source[i * channels + c];
            }
        }
        source += static_cast<std::size_t>(count) * channels;
        frames -= count;
        if (tap.buffer.frameLength() == tap.buffer.frameCapacity()) {
            callBlock(tap);
        }
    }
}

void TapThread::callBlock(Tap& tap) {
    tap.block(tap.buffer, {tap.delivered, tap.buffer.format().sampleRate()});
    tap.delivered += tap.buffer.frameLength();
    tap.buffer.setFrameLength(0);
}

} // namespace tessivo::sound
