#pragma once

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/control/control.h>
#include <spa/pod/iter.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace tessivo::benchmark {

// A listener with none of our code in it, "witness:in", that only counts the messages it hears.
// A server or a machine that misses cycles is told from a fault of ours by what it has missed.
class MidiWitness {
public:
    MidiWitness() {
        static const pw_filter_events events = [] {
            pw_filter_events e{};
            e.version = PW_VERSION_FILTER_EVENTS;
            e.process = onProcess;
            return e;
        }();
        pw_init(nullptr, nullptr);
        loop_ = pw_thread_loop_new("witness", nullptr);
        filter_ = pw_filter_new_simple(pw_thread_loop_get_loop(loop_), "witness",
                                       pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf",
                                                         PW_KEY_NODE_NAME, "witness", nullptr),
                                       &events, this);
        port_ = pw_filter_add_port(
            filter_, PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
            pw_properties_new(PW_KEY_FORMAT_DSP, "8 bit raw midi", PW_KEY_PORT_NAME, "in", nullptr),
            nullptr, 0);
        if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0 ||
            pw_thread_loop_start(loop_) < 0) {
            throw std::runtime_error("there is no witness");
        }
    }
    ~MidiWitness() {
        pw_thread_loop_stop(loop_);
        pw_filter_destroy(filter_);
        pw_thread_loop_destroy(loop_);
    }
    MidiWitness(const MidiWitness&) = delete;
    MidiWitness& operator=(const MidiWitness&) = delete;

    std::uint64_t heard() const { return heard_; }

private:
    static void onProcess(void* data, spa_io_position* /*position*/) {
        auto& self = *static_cast<MidiWitness*>(data);
        pw_buffer* const buffer = pw_filter_dequeue_buffer(self.port_);
        if (buffer == nullptr) {
            return;
        }
        const spa_data& memory = buffer->buffer->datas[0];
        auto* const pod = static_cast<spa_pod*>(spa_pod_from_data(
            memory.data, memory.maxsize, memory.chunk->offset, memory.chunk->size));
        if (pod != nullptr && spa_pod_is_sequence(pod) != 0) {
            const auto* const sequence = reinterpret_cast<spa_pod_sequence*>(pod);
            const spa_pod_control* control = nullptr;
            SPA_POD_SEQUENCE_FOREACH(sequence, control) {
                ++self.heard_;
            }
        }
        pw_filter_queue_buffer(self.port_, buffer);
    }

    pw_thread_loop* loop_ = nullptr;
    pw_filter* filter_ = nullptr;
    void* port_ = nullptr;
    std::atomic<std::uint64_t> heard_{0};
};

} // namespace tessivo::benchmark
