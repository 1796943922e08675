#include "Platform/Sound/Device/PipeWireCycles.h"

#include <pipewire/stream.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace tessivo::sound {

namespace {

constexpr std::uint32_t kSampleBytes = sizeof(float);

// A stream's buffer, which is queued again in any case.
class DequeuedBuffer {
public:
    explicit DequeuedBuffer(pw_stream* stream) TESSIVO_REALTIME
        : stream_(stream),
          buffer_(pw_stream_dequeue_buffer(stream)) {}
    ~DequeuedBuffer() {
        if (buffer_ != nullptr) {
            pw_stream_queue_buffer(stream_, buffer_);
        }
    }
    DequeuedBuffer(const DequeuedBuffer&) = delete;
    DequeuedBuffer& operator=(const DequeuedBuffer&) = delete;

    std::uint64_t requested() const TESSIVO_REALTIME { return buffer_->requested; }
    void setSize(std::uint64_t frames) TESSIVO_REALTIME { buffer_->size = frames; }

    // One for each channel; none when there was no buffer.
    std::span<spa_data> channels() const TESSIVO_REALTIME {
        if (buffer_ == nullptr || buffer_->buffer == nullptr) {
            return {};
        }
        return {buffer_->buffer->datas, buffer_->buffer->n_datas};
    }

private:
    pw_stream* stream_;
    pw_buffer* buffer_;
};

} // namespace

PipeWireCycles::PipeWireCycles() {
    for (std::vector<float>& channel : scratch_) {
        channel.resize(kMaxRenderFrames);
    }
}

void PipeWireCycles::start(AudioRenderer& renderer, double renderRate) {
    renderRate_ = renderRate;
    renderer_ = &renderer;
}

void PipeWireCycles::stop() {
    renderer_ = nullptr;
    awaitLeave();
    outputLatency_ = 0.0;
}

void PipeWireCycles::setCapture(pw_stream* stream) {
    capture_ = stream;
    awaitLeave();
}

void PipeWireCycles::setPlayback(pw_stream* stream, bool triggered) {
    playback_ = nullptr;
    awaitLeave();
    playbackRunning_ = false;
    stale_ = true;
    triggered_ = triggered;
    playback_ = stream;
}

void PipeWireCycles::setPlaybackRunning(bool running) {
    playbackRunning_ = running;
    if (!running) {
        awaitLeave();
    }
}

// All these atomics are sequentially consistent: either the callback sees what was stored before
// awaitLeave(), or awaitLeave() sees that the callback is inside.
AudioRenderer* PipeWireCycles::enter() TESSIVO_REALTIME {
    ++inside_;
    AudioRenderer* renderer = renderer_;
    if (renderer == nullptr) {
        leave();
        return nullptr;
    }
    if (stale_.exchange(false)) {
        fifo_.clear();
    }
    return renderer;
}

void PipeWireCycles::leave() TESSIVO_REALTIME {
    if (--inside_ == 0) {
        ++departures_;
    }
}

void PipeWireCycles::awaitLeave() const {
    // A callback that enters later sees what was stored, so waiting for one departure is enough.
    const std::uint64_t before = departures_;
    while (inside_ != 0 && departures_ == before) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

void PipeWireCycles::onCapture(void* data) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireCycles*>(data);
    AudioRenderer* renderer = self.enter();
    if (renderer == nullptr) {
        return;
    }
    if (pw_stream* stream = self.capture_; stream != nullptr) {
        self.capture(*renderer, stream);
    }
    self.leave();
}

void PipeWireCycles::onPlayback(void* data) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireCycles*>(data);
    AudioRenderer* renderer = self.enter();
    if (renderer == nullptr) {
        return;
    }
    if (pw_stream* stream = self.playback_; stream != nullptr) {
        self.playback(*renderer, stream);
    }
    self.leave();
}

void PipeWireCycles::capture(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME {
    pw_stream* const playback = playback_;
    const bool renders = playback == nullptr || triggered_;
    {
        const DequeuedBuffer buffer(stream);
        const std::span<spa_data> channels = buffer.channels();
        if (renders && !channels.empty() && channels.front().data != nullptr &&
            channels.back().data != nullptr) {
            // A microphone with one channel is heard on both sides.
            const std::array<const spa_data*, kGraphChannels> sides{&channels.front(),
                                                                    &channels.back()};
            std::array<const float*, kGraphChannels> input{};
            std::uint32_t frames = UINT32_MAX;
            for (std::size_t c = 0; c < sides.size(); ++c) {
                const spa_data& side = *sides[c];
                const std::uint32_t offset = std::min(side.chunk->offset, side.maxsize);
                const std::uint32_t bytes = std::min(side.chunk->size, side.maxsize - offset);
                input[c] = static_cast<const float*>(side.data) + offset / kSampleBytes;
                frames = std::min(frames, bytes / kSampleBytes);
            }
            fifo_.beginCycle();
            for (std::uint32_t done = 0; done < frames;) {
                const std::uint32_t part = std::min(frames - done, kMaxRenderFrames);
                const std::array<const float*, kGraphChannels> in{input[0] + done, input[1] + done};
                const std::array<float*, kGraphChannels> out{scratch_[0].data(),
                                                             scratch_[1].data()};
                if (playback != nullptr) {
                    renderer.render({in, out, part});
                    fifo_.push(std::array<const float*, kGraphChannels>{out[0], out[1]}, part);
                } else {
                    renderer.render({in, {}, part});
                }
                done += part;
            }
        }
    }
    if (playback != nullptr && renders && playbackRunning_) {
        pw_stream_trigger_process(playback);
    }
}

void PipeWireCycles::playback(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME {
    DequeuedBuffer buffer(stream);
    const std::span<spa_data> channels = buffer.channels();
    if (channels.size() < kGraphChannels || channels[0].data == nullptr ||
        channels[1].data == nullptr) {
        return;
    }
    const std::array<float*, kGraphChannels> sides{static_cast<float*>(channels[0].data),
                                                   static_cast<float*>(channels[1].data)};
    std::uint32_t frames = std::min(channels[0].maxsize, channels[1].maxsize) / kSampleBytes;
    if (buffer.requested() > 0) {
        frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, buffer.requested()));
    }
    if (triggered_) {
        fifo_.pop(sides, frames);
    } else {
        for (std::uint32_t done = 0; done < frames;) {
            const std::uint32_t part = std::min(frames - done, kMaxRenderFrames);
            const std::array<float*, kGraphChannels> out{sides[0] + done, sides[1] + done};
            renderer.render({{}, out, part});
            done += part;
        }
    }
    for (spa_data& channel : channels) {
        channel.chunk->offset = 0;
        channel.chunk->stride = static_cast<std::int32_t>(kSampleBytes);
        channel.chunk->size = frames * kSampleBytes;
    }
    buffer.setSize(frames);
    measureLatency(stream);
}

void PipeWireCycles::measureLatency(pw_stream* stream) TESSIVO_REALTIME {
    pw_time time{};
    if (pw_stream_get_time_n(stream, &time, sizeof time) < 0 || time.rate.denom == 0) {
        return;
    }
    const double waiting = static_cast<double>(time.buffered) + fifo_.size();
    outputLatency_.store(static_cast<double>(std::max<std::int64_t>(time.delay, 0)) *
                                 time.rate.num / time.rate.denom +
                             waiting / renderRate_.load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
}

} // namespace tessivo::sound
