#pragma once

#include "Platform/Midi/MidiThread.h"
#include "Platform/Midi/PipeWireLink.h"

#include <pipewire/filter.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tessivo::midi {

// Our node in the server's graph with its one MIDI input port. The audio callback puts what
// arrives there into the thread's queue, and wakes it then. It asks for no length of the cycles.
// Belongs to one connection; created, used and destroyed with the loop locked.
class PipeWireInputPort {
public:
    // changed is called on the loop's thread when isReady(), failure() or an answer of a link
    // has changed.
    PipeWireInputPort(pw_core* core, const std::string& nodeName, const std::string& portName,
                      MidiThread& thread, std::function<void()> changed);
    ~PipeWireInputPort();
    PipeWireInputPort(const PipeWireInputPort&) = delete;
    PipeWireInputPort& operator=(const PipeWireInputPort&) = delete;

    bool isReady() const { return node_ != SPA_ID_INVALID; }
    int failure() const { return failure_; } // an errno value; 0 for none

    // When it is ready.
    std::unique_ptr<PipeWireLink> linkFrom(SourceList::Place source) const;

private:
    static void onState(void* data, pw_filter_state old, pw_filter_state state, const char* error);
    static void onProcess(void* data, spa_io_position* position) TESSIVO_REALTIME;

    pw_core* core_;
    MidiThread& thread_;
    std::function<void()> changed_;
    std::uint32_t node_ = SPA_ID_INVALID;
    int failure_ = 0;
    bool closing_ = false;
    void* port_ = nullptr;
    spa_hook hook_{};
    std::unique_ptr<pw_filter, void (*)(pw_filter*)> filter_;
};

} // namespace tessivo::midi
