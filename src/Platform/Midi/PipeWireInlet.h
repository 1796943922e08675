#pragma once

#include "Platform/Midi/PacketQueue.h"
#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Handles.h"

#include <pipewire/filter.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tessivo::midi {

// A link between a source and our input port, made by us and gone with this object.
class PipeWireLink {
public:
    // changed is called on the loop when one of the answers below is another one.
    PipeWireLink(pw_core* core, SourceList::Place source, std::uint32_t inletNode,
                 std::function<void()> changed);

    bool isMade() const { return made_; }
    // What the source sends from now on arrives. A source that sleeps comes to that later.
    bool isActive() const { return active_; }
    // A negative errno value; 0 for none. A link that somebody removed has failed.
    int failure() const { return failure_; }
    SourceList::Place source() const { return source_; }

private:
    static void onInfo(void* data, const pw_link_info* info);
    static void onRemoved(void* data);
    static void onError(void* data, int sequence, int result, const char* message);

    SourceList::Place source_;
    std::function<void()> changed_;
    bool made_ = false;
    bool active_ = false;
    int failure_ = 0;
    pipewire::ProxyOwner<pw_proxy> proxy_;
    pipewire::Listener proxyListener_;
    pipewire::Listener linkListener_;
};

// Our node in the server's graph, with its one input port for MIDI. What arrives there is put
// into the queue by the audio callback. Belongs to one connection and its loop; made, used and
// destroyed with the loop locked.
class PipeWireInlet {
public:
    PipeWireInlet(pw_core* core, const std::string& nodeName, const std::string& portName,
                  PacketQueue& queue, std::function<void()> changed);
    ~PipeWireInlet();
    PipeWireInlet(const PipeWireInlet&) = delete;
    PipeWireInlet& operator=(const PipeWireInlet&) = delete;

    bool isReady() const { return node_ != SPA_ID_INVALID; }
    int failure() const { return failure_; } // a negative errno value; 0 for none

    // Replaces the link that there is. The inlet must be ready.
    void connect(SourceList::Place source);
    void disconnect();
    const PipeWireLink* link() const { return link_.get(); }

private:
    static void onState(void* data, pw_filter_state old, pw_filter_state state, const char* error);
    static void onProcess(void* data, spa_io_position* position) TESSIVO_REALTIME;

    pw_core* core_;
    PacketQueue& queue_;
    std::function<void()> changed_;
    std::uint32_t node_ = SPA_ID_INVALID;
    int failure_ = 0;
    bool closing_ = false;
    void* port_ = nullptr;
    spa_hook hook_{};
    std::unique_ptr<pw_filter, void (*)(pw_filter*)> filter_;
    std::unique_ptr<PipeWireLink> link_;
};

} // namespace tessivo::midi
