#pragma once

#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Handles.h"

#include <cstdint>
#include <functional>

namespace tessivo::midi {

// A link from a source to our input port, which the server removes when this is destroyed.
// Created, used and destroyed with the loop locked.
class PipeWireLink {
public:
    // changed is called on the loop's thread when one of the answers below has changed.
    PipeWireLink(pw_core* core, SourceList::Place source, std::uint32_t inputNode,
                 std::function<void()> changed);
    PipeWireLink(const PipeWireLink&) = delete;
    PipeWireLink& operator=(const PipeWireLink&) = delete;

    bool isMade() const { return made_; }
    // What the source sends from now on arrives. With a suspended source that takes a while.
    bool isActive() const { return active_; }
    // An errno value; 0 for none. A link that somebody removed has failed.
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

} // namespace tessivo::midi
