#pragma once

#include "Platform/Midi/SourceList.h"
#include "Platform/PipeWire/Connection.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace tessivo::midi {

// Finds the ports that send MIDI among the server's objects, and the names that their user knows
// them by, and keeps the list of sources up to date. Belongs to one connection.
class SourcePorts final : private pipewire::RegistryListener {
public:
    // changed is called on the loop's thread when the list has changed.
    SourcePorts(pipewire::Connection& connection, SourceList& sources,
                std::function<void()> changed);
    SourcePorts(const SourcePorts&) = delete;
    SourcePorts& operator=(const SourcePorts&) = delete;

private:
    struct Node {
        std::string name; // as its user knows it
        bool isBridge;    // stands for several devices
    };

    void objectAdded(std::uint32_t id, std::string_view type, const spa_dict* properties) override;
    void objectRemoved(std::uint32_t id) override;
    void addPort(std::uint32_t id, const spa_dict* properties);

    SourceList& sources_;
    std::function<void()> changed_;
    std::map<std::uint32_t, Node> nodes_;
    std::map<std::uint32_t, std::string> devices_; // device keys of the listed ports, by port
};

} // namespace tessivo::midi
