#pragma once

#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Handles.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace tessivo::midi {

// One connection to the server, and what its registry says of the ports that send MIDI. Belongs
// to its loop; made, used and destroyed with the loop locked.
class PipeWirePorts {
public:
    // Called on the loop, and not from within a call of ours.
    struct Listener {
        std::function<void(const std::string& name, SourceList::Place)> appeared;
        std::function<void(std::uint32_t port)> disappeared;
        std::function<void()> changed; // hasAnswered() or isLost() has become true
    };

    // Null members when there is no server to connect to; errno then says why.
    PipeWirePorts(pw_context* context, const std::string& applicationName, Listener listener);
    ~PipeWirePorts();
    PipeWirePorts(const PipeWirePorts&) = delete;
    PipeWirePorts& operator=(const PipeWirePorts&) = delete;

    pw_core* core() const { return core_.get(); }
    bool hasAnswered() const { return answered_; } // it has told all ports that there were
    bool isLost() const { return lost_; }          // nothing here comes back

private:
    struct Node {
        std::string name; // as its user knows it
        bool isBridge;    // stands for several devices
    };

    static void onDone(void* data, std::uint32_t id, int sequence);
    static void onError(void* data, std::uint32_t id, int sequence, int result,
                        const char* message);
    static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties);
    static void onGlobalRemove(void* data, std::uint32_t id);
    static const pw_core_events kCoreEvents;
    static const pw_registry_events kRegistryEvents;

    void addPort(std::uint32_t id, const spa_dict* properties);

    Listener listener_;
    std::map<std::uint32_t, Node> nodes_;
    std::map<std::uint32_t, std::string> devices_; // whose ports were told, by port
    int roundTrip_ = -1;
    bool answered_ = false;
    bool lost_ = false;
    pipewire::Owner<pw_core> core_;
    pipewire::Listener coreListener_;
    pipewire::ProxyOwner<pw_registry> registry_;
    pipewire::Listener registryListener_;
};

} // namespace tessivo::midi
