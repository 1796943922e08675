#pragma once

#include "support/MidiSender.h"

#include <spa/node/io.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace tessivo::benchmark {

// More notes than anybody plays, for a controller to send. It outlives the controller.
class MidiFlood {
public:
    // Sends so many note-ons a second, spread evenly, and repeats the notes.
    void begin(unsigned perSecond, std::vector<std::uint8_t> notes) {
        floods_.push_back({perSecond, std::move(notes)});
        flood_ = &floods_.back();
    }
    void end() { flood_ = nullptr; }
    // Notes of the floods so far, the next of which is notes[sent() % notes.size()].
    std::uint64_t sent() const { return sent_; }

    // The audio thread.
    void addTo(const spa_io_position& position, const test::MidiSender::Add& add) {
        const Flood* const flood = flood_;
        if (flood != current_) {
            current_ = flood;
            frames_ = 0;
            notes_ = 0;
        }
        if (flood == nullptr) {
            return;
        }
        const std::uint64_t rate = position.clock.rate.denom;
        const std::uint64_t end = frames_ + position.clock.duration;
        std::uint64_t total = sent_;
        for (; notes_ * rate < end * flood->perSecond; ++notes_, ++total) {
            const std::uint64_t due = notes_ * rate / flood->perSecond;
            const std::array<std::uint8_t, 3> note{0x90, flood->notes[total % flood->notes.size()],
                                                   100};
            add(std::max(due, frames_) - frames_, note);
        }
        sent_ = total;
        frames_ = end;
    }

private:
    struct Flood {
        unsigned perSecond;
        std::vector<std::uint8_t> notes;
    };

    std::deque<Flood> floods_;
    std::atomic<const Flood*> flood_{nullptr};
    std::atomic<std::uint64_t> sent_{0};
    // The callback's own: the current flood, and its frames and notes so far.
    const Flood* current_ = nullptr;
    std::uint64_t frames_ = 0;
    std::uint64_t notes_ = 0;
};

} // namespace tessivo::benchmark
