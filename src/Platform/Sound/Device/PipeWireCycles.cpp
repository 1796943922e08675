#include "Platform/Sound/Device/PipeWireCycles.h"

#include <pipewire/stream.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace tessivo::sound {

namespace {

constexpr std::uint32_t kSampleBytes = sizeof(float);

// A stream that converts rates wants a few frames more or less than were rendered in a cycle. One
// that wants many more has not heard yet that the cycles are shorter now.
constexpr std::uint32_t kUneven = 8;

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

// What a stream states of the current cycle; nothing while it is in none.
std::optional<pw_time> statedTime(pw_stream* stream) TESSIVO_REALTIME {
    pw_time time{};
    if (pw_stream_get_time_n(stream, &time, sizeof time) < 0 || time.rate.denom == 0) {
        return std::nullopt;
    }
    return time;
}

} // namespace

PipeWireCycles::PipeWireCycles() {
    for (std::vector<float>& channel : scratch_) {
        channel.resize(kMaxRenderFrames);
    }
}

void PipeWireCycles::start(AudioRenderer& renderer, double renderRate) {
    renderRate_ = renderRate;
    position_ = {};
    renderer_ = &renderer;
}

void PipeWireCycles::stop() {
    renderer_ = nullptr;
    awaitLeave();
    inputLatency_ = 0.0;
    outputLatency_ = 0.0;
}

void PipeWireCycles::setCapture(pw_stream* stream) {
    inputHeard_ = false;
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

// Does the work with the renderer and the stream, unless one of them is gone.
template <typename Work>
void PipeWireCycles::inside(const std::atomic<pw_stream*>& stream, Work work) TESSIVO_REALTIME {
    AudioRenderer* renderer = enter();
    if (renderer == nullptr) {
        return;
    }
    if (pw_stream* current = stream; current != nullptr) {
        work(*renderer, current);
    }
    leave();
}

void PipeWireCycles::onCapture(void* data) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireCycles*>(data);
    self.inside(self.capture_, [&self](AudioRenderer& renderer, pw_stream* stream)
                                   TESSIVO_REALTIME { self.capture(renderer, stream); });
}

void PipeWireCycles::onPlayback(void* data) TESSIVO_REALTIME {
    auto& self = *static_cast<PipeWireCycles*>(data);
    self.inside(self.playback_, [&self](AudioRenderer& renderer, pw_stream* stream)
                                    TESSIVO_REALTIME { self.playback(renderer, stream); });
}

void PipeWireCycles::capture(AudioRenderer& renderer, pw_stream* stream) TESSIVO_REALTIME {
    pw_stream* const playback = playback_;
    const bool renders = inputHeard_ && (playback == nullptr || triggered_);
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
            const GraphPosition::Cycle cycle = beginCycle(stream, frames);
            const std::uint32_t late = fifo_.beginCycle();
            countMissedOutput(wasTriggered_ ? late : 0);
            for (std::uint32_t done = 0; done < frames;) {
                const std::uint32_t part = std::min(frames - done, kMaxRenderFrames);
                const std::array<const float*, kGraphChannels> in{input[0] + done, input[1] + done};
                const std::array<float*, kGraphChannels> out{scratch_[0].data(),
                                                             scratch_[1].data()};
                const Moment time = timeOf(cycle, done);
                const std::uint32_t missed = done == 0 ? cycle.missed : 0;
                const std::uint32_t missedOutput = takeMissedOutput();
                if (playback != nullptr) {
                    renderer.render({in, out, part, time, missed, missedOutput});
                    fifo_.push(std::array<const float*, kGraphChannels>{out[0], out[1]}, part);
                } else {
                    renderer.render({in, {}, part, time, missed, missedOutput});
                }
                done += part;
            }
            renderedFrames_ = frames;
        }
    }
    wasTriggered_ = playback != nullptr && renders && playbackRunning_;
    if (wasTriggered_) {
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
        const std::uint32_t rendered = std::exchange(renderedFrames_, 0);
        if (rendered > 0 && frames > rendered + kUneven) {
            frames = std::max(rendered, std::min(frames, fifo_.size()));
        }
        countMissedOutput(fifo_.pop(sides, frames));
    } else {
        const GraphPosition::Cycle cycle = beginCycle(stream, frames);
        for (std::uint32_t done = 0; done < frames;) {
            const std::uint32_t part = std::min(frames - done, kMaxRenderFrames);
            const std::array<float*, kGraphChannels> out{sides[0] + done, sides[1] + done};
            renderer.render({{}, out, part, timeOf(cycle, done), done == 0 ? cycle.missed : 0U});
            done += part;
        }
    }
    for (spa_data& channel : channels) {
        channel.chunk->offset = 0;
        channel.chunk->stride = static_cast<std::int32_t>(kSampleBytes);
        channel.chunk->size = frames * kSampleBytes;
    }
    buffer.setSize(frames);
    if (const std::optional<pw_time> time = statedTime(stream)) {
        outputLatency_.store(latencyOf(*time) + fifo_.size() / renderRate_.load(),
                             std::memory_order_relaxed);
    }
}

GraphPosition::Cycle PipeWireCycles::beginCycle(pw_stream* stream,
                                                std::uint32_t frames) TESSIVO_REALTIME {
    const std::optional<pw_time> time = statedTime(stream);
    if (!time) {
        return {};
    }
    if (stream == capture_) {
        inputLatency_.store(latencyOf(*time), std::memory_order_relaxed);
    }
    const GraphPosition::Cycle cycle = position_.begin(stream, *time, frames, renderRate_);
    missedFrames_.fetch_add(cycle.missed, std::memory_order_relaxed);
    return cycle;
}

Moment PipeWireCycles::timeOf(const GraphPosition::Cycle& cycle,
                              std::uint32_t frame) const TESSIVO_REALTIME {
    if (cycle.time == Moment{}) {
        return {};
    }
    const std::chrono::duration<double> offset(frame / renderRate_.load());
    return cycle.time + std::chrono::duration_cast<Moment::duration>(offset);
}

double PipeWireCycles::latencyOf(const pw_time& time) const TESSIVO_REALTIME {
    return static_cast<double>(std::max<std::int64_t>(time.delay, 0)) * time.rate.num /
               time.rate.denom +
           static_cast<double>(time.buffered) / renderRate_.load();
}

void PipeWireCycles::countMissedOutput(std::uint32_t frames) TESSIVO_REALTIME {
    if (frames > 0) {
        missedOutputFrames_.fetch_add(frames, std::memory_order_relaxed);
        untoldMissedOutput_ += frames;
    }
}

std::uint32_t PipeWireCycles::takeMissedOutput() TESSIVO_REALTIME {
    return std::exchange(untoldMissedOutput_, 0);
}

} // namespace tessivo::sound
