#pragma once

#include "support/GraphNode.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/control/control.h>
#include <spa/pod/iter.h>

#include <atomic>
#include <cstdint>

namespace tessivo::benchmark {

// A listener with none of our code in it, "witness:in", that only counts the messages it hears.
// A server or a machine that misses cycles is told from a fault of ours by what it has missed.
class MidiWitness final : public test::GraphNode {
public:
    MidiWitness()
        : GraphNode("witness", {}) {
        port_ =
            addPort(false, 1, {{PW_KEY_FORMAT_DSP, "8 bit raw midi"}, {PW_KEY_PORT_NAME, "in"}});
        start();
    }
    ~MidiWitness() override { stop(); }

    std::uint64_t heard() const { return heard_; }

private:
    void process(const spa_io_position& /*position*/) override {
        pw_buffer* const buffer = pw_filter_dequeue_buffer(port_);
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
                ++heard_;
            }
        }
        pw_filter_queue_buffer(port_, buffer);
    }

    void* port_ = nullptr;
    std::atomic<std::uint64_t> heard_{0};
};

} // namespace tessivo::benchmark
