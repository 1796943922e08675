#pragma once

#include "Platform/Realtime/SpscQueue.h"
#include "support/GraphNode.h"
#include "support/GraphProbe.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/control/control.h>
#include <spa/param/param.h>
#include <spa/pod/builder.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <stdexcept>

namespace tessivo::benchmark {

// Somebody who plays and presses pedals at the same time: a node "musician" whose ports out_0
// and out_1 sound and whose port keys sends notes. Both count the same frames, so that a note
// is sent at a frame of the sound that is known exactly.
class Musician final : public test::GraphNode {
public:
    enum class Sound {
        marks, // every frame tells its own number, see test::Mark
        tone,  // swells and fades twice a second, as far as a level meter can show
    };

    explicit Musician(Sound sound)
        : GraphNode("musician", {{PW_KEY_MEDIA_TYPE, "Audio"}, {PW_KEY_MEDIA_CATEGORY, "Filter"}})
        , sound_(sound) {
        for (const char* name : {"out_0", "out_1"}) {
            outputs_[name[4] == '0' ? 0 : 1] =
                addPort(true, 1,
                        {{PW_KEY_FORMAT_DSP, "32 bit float mono audio"}, {PW_KEY_PORT_NAME, name}});
        }
        std::array<std::uint8_t, 256> storage{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, storage.data(), storage.size());
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers,
                                    SPA_PARAM_Buffers);
        spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_size, 0);
        spa_pod_builder_int(&builder, 4096);
        const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
        keys_ =
            addPort(true, 1, {{PW_KEY_FORMAT_DSP, "8 bit raw midi"}, {PW_KEY_PORT_NAME, "keys"}},
                    {}, buffers);
        start();
    }
    ~Musician() override { stop(); }

    std::int64_t frames() const { return frames_; } // played so far

    // A note-on at that frame, or in the next cycle when the frame is over.
    void play(std::uint8_t note, std::int64_t frame) {
        if (!notes_.tryPush({note, frame})) {
            throw std::runtime_error("the musician has too much to play");
        }
    }
    std::size_t late() const { return late_; } // notes that were not sent at their frame

private:
    struct Note {
        std::uint8_t number = 0;
        std::int64_t frame = 0;
    };

    float sample(std::size_t channel, std::int64_t frame) const {
        if (sound_ == Sound::marks) {
            return test::Mark::sample(channel, frame);
        }
        const double phase = 2.0 * std::numbers::pi * static_cast<double>(frame % 48000) / 48000.0;
        return static_cast<float>(0.25 * (1.0 - std::cos(2.0 * phase)) * std::sin(440.0 * phase));
    }

    void process(const spa_io_position& position) override {
        const auto count = static_cast<std::uint32_t>(position.clock.duration);
        const std::int64_t first = frames_;
        for (std::size_t channel = 0; channel < outputs_.size(); ++channel) {
            auto* const samples =
                static_cast<float*>(pw_filter_get_dsp_buffer(outputs_.at(channel), count));
            for (std::uint32_t frame = 0; samples != nullptr && frame < count; ++frame) {
                samples[frame] = sample(channel, first + frame);
            }
        }
        if (pw_buffer* const buffer = pw_filter_dequeue_buffer(keys_)) {
            send(*buffer, first, first + count);
        }
        frames_ = first + count;
    }

    // The notes before the end frame; somebody listens to them.
    void send(pw_buffer& buffer, std::int64_t first, std::int64_t end) {
        spa_data& data = buffer.buffer->datas[0];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, data.data, data.maxsize);
        spa_pod_frame frame{};
        spa_pod_builder_push_sequence(&builder, &frame, 0);
        for (;;) {
            Note note;
            if (!next_ && notes_.tryPop(note)) {
                next_ = note;
            }
            if (!next_ || next_->frame >= end) {
                break;
            }
            late_ += next_->frame < first ? 1 : 0;
            const std::int64_t offset = std::max<std::int64_t>(next_->frame - first, 0);
            const std::array<std::uint8_t, 3> bytes{0x90, next_->number, 100};
            spa_pod_builder_control(&builder, static_cast<std::uint32_t>(offset), SPA_CONTROL_Midi);
            spa_pod_builder_bytes(&builder, bytes.data(), bytes.size());
            next_.reset();
        }
        spa_pod_builder_pop(&builder, &frame);
        data.chunk->offset = 0;
        data.chunk->size = builder.state.offset;
        data.chunk->stride = 1;
        pw_filter_queue_buffer(keys_, &buffer);
    }

    const Sound sound_;
    std::array<void*, 2> outputs_{};
    void* keys_ = nullptr;
    SpscQueue<Note> notes_{64};
    std::optional<Note> next_; // the audio thread's: taken from the queue, not sent yet
    std::atomic<std::int64_t> frames_{0};
    std::atomic<std::size_t> late_{0};
};

} // namespace tessivo::benchmark
