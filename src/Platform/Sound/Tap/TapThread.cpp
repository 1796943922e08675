#include "Platform/Sound/Tap/TapThread.h"

#include "Platform/Sound/Decode/RateConverter.h"
#include "Platform/Sound/Limits.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessivo::sound {

struct TapThread::Tap {
    Tap(std::shared_ptr<TapQueue> tapQueue, double rate, std::uint32_t bufferSize,
        const AudioFormat& format, TapHandler tapBlock)
        : queue(std::move(tapQueue))
        , queueRate(rate)
        , buffer(format, bufferSize)
        , block(std::move(tapBlock)) {}

    // The callback cannot wake this thread, because that would be a system call. So the thread
    // wakes by itself when the next buffer should be complete.
    std::chrono::duration<double> timeToNextBuffer() const {
        const double missing = buffer.frameCapacity() - buffer.frameLength();
        return std::chrono::duration<double>(
            std::clamp(missing / buffer.format().sampleRate(), 0.002, 0.05));
    }

    void deliver(bool finish);

    std::shared_ptr<TapQueue> queue;
    double queueRate;      // Hz
    AudioPCMBuffer buffer; // being filled
    TapHandler block;      // none any more after an error

private:
    void deliverConverted(bool finish);
    void append(std::span<const float> interleaved);
    void callBlock();

    struct Conversion {
        RateConverter converter;
        AudioPCMBuffer chunk; // at the queue's rate
        std::vector<float> interleaved;
    };

    std::int64_t delivered_ = 0; // frames, at the format's rate
    std::unique_ptr<Conversion> conversion_;
};

// With finish the last buffer may be short.
void TapThread::Tap::deliver(bool finish) {
    if (finish) {
        queue->flush();
    }
    if (buffer.format().sampleRate() != queueRate) {
        deliverConverted(finish);
    } else {
        queue->pop(buffer);
        while (buffer.frameLength() == buffer.frameCapacity()) {
            callBlock();
            queue->pop(buffer);
        }
    }
    if (finish && buffer.frameLength() > 0) {
        callBlock();
    }
}

void TapThread::Tap::deliverConverted(bool finish) {
    const auto channels = buffer.format().channelCount();
    if (!conversion_) {
        conversion_.reset(
            new Conversion{RateConverter(queueRate, buffer.format().sampleRate(), channels),
                           AudioPCMBuffer({queueRate, channels}, kTapChunkFrames),
                           {}});
    }
    auto& [converter, chunk, interleaved] = *conversion_;
    do {
        chunk.setFrameLength(0);
        queue->pop(chunk);
        chunk.interleave(interleaved);
        append(converter.process(interleaved, finish && chunk.frameLength() == 0));
    } while (chunk.frameLength() > 0);
}

void TapThread::Tap::append(std::span<const float> interleaved) {
    const auto channels = buffer.format().channelCount();
    while (!interleaved.empty()) {
        const auto begin = buffer.frameLength();
        const auto count =
            std::min<std::size_t>(interleaved.size() / channels, buffer.frameCapacity() - begin);
        buffer.setFrameLength(begin + static_cast<std::uint32_t>(count));
        for (std::uint32_t channel = 0; channel < channels; ++channel) {
            const auto samples = buffer.channel(channel).subspan(begin);
            for (std::size_t i = 0; i < count; ++i) {
                samples[i] = interleaved[i * channels + channel];
            }
        }
        interleaved = interleaved.subspan(count * channels);
        if (buffer.frameLength() == buffer.frameCapacity()) {
            callBlock();
        }
    }
}

void TapThread::Tap::callBlock() {
    block(buffer, {delivered_, buffer.format().sampleRate()});
    delivered_ += buffer.frameLength();
    buffer.setFrameLength(0);
}

TapThread::TapThread(DiagnosticSink diagnostics)
    : diagnostics_(diagnostics ? std::move(diagnostics) : [](const std::string&) {})
    , thread_([this](const std::stop_token& stop) { run(stop); }) {}

TapThread::~TapThread() = default;

void TapThread::install(std::shared_ptr<TapQueue> queue, double queueRate, std::uint32_t bufferSize,
                        const AudioFormat& format, TapHandler block) {
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

void TapThread::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return tap_ != nullptr; })) {
        changed_.wait_for(lock, stop, tap_->timeToNextBuffer(), [this] { return finishing_; });
        if (stop.stop_requested()) {
            return;
        }
        const auto tap = tap_;
        const bool finish = finishing_;
        lock.unlock();
        work(*tap, finish);
        lock.lock();
        if (finish) {
            tap_ = nullptr;
            finishing_ = false;
            changed_.notify_all();
        }
    }
}

void TapThread::work(Tap& tap, bool finish) {
    if (tap.block) {
        try {
            tap.deliver(finish);
        } catch (const std::exception& error) {
            diagnostics_(std::string("The input's tap ended: ") + error.what());
            tap.block = nullptr;
        }
    }
    if (finish && tap.block) {
        if (const auto lost = tap.queue->overrunFrames(); lost > 0) {
            diagnostics_("The disk was blocked for too long: " + std::to_string(lost) +
                         " captured frames were lost and replaced by silence");
        }
        // What the handler holds is released here, on the thread that used it.
        tap.block = nullptr;
    }
}

} // namespace tessivo::sound
