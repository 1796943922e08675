#include "support/VirtualMidi.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace tessivo::midi {

EndpointRef VirtualMidi::addSource(std::optional<std::string> name) {
    sources_.push_back({++lastReference_, std::move(name)});
    thread_.notify(SetupChange::objectAdded);
    return sources_.back().reference;
}

void VirtualMidi::removeSource(EndpointRef source) {
    if (connected_ == source) {
        connected_ = 0;
    }
    std::erase_if(sources_, [source](const Source& s) { return s.reference == source; });
    thread_.notify(SetupChange::objectRemoved);
}

bool VirtualMidi::send(EndpointRef source, std::span<const std::vector<std::uint8_t>> packets) {
    if (connected_ != source) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto time = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
    bool all = true;
    for (const std::vector<std::uint8_t>& packet : packets) {
        all = thread_.queue().push(time, packet) && all;
    }
    return all;
}

bool VirtualMidi::send(EndpointRef source, std::vector<std::uint8_t> packet) {
    return send(source, std::span(&packet, 1));
}

Status VirtualMidi::createClient(const std::string& /*name*/, SetupHandler handler,
                                 ClientRef& client) {
    client = 0;
    if (const Status status = std::exchange(failClient, 0); status != 0) {
        return status;
    }
    if (client_ != 0) {
        return -EBUSY;
    }
    thread_.setSetupHandler(std::move(handler));
    client = client_ = ++lastReference_;
    return 0;
}

Status VirtualMidi::createInputPort(ClientRef client, const std::string& /*name*/,
                                    PacketHandler handler, PortRef& port) {
    port = 0;
    if (const Status status = std::exchange(failPort, 0); status != 0) {
        return status;
    }
    if (client == 0 || client != client_) {
        return -EINVAL;
    }
    if (port_ != 0) {
        return -EBUSY;
    }
    thread_.setPacketHandler(std::move(handler));
    port = port_ = ++lastReference_;
    return 0;
}

void VirtualMidi::disposePort(PortRef port) {
    if (port != 0 && port == port_) {
        connected_ = 0;
        port_ = 0;
        thread_.setListening(false);
        thread_.setPacketHandler({});
    }
}

void VirtualMidi::disposeClient(ClientRef client) {
    if (client != 0 && client == client_) {
        disposePort(port_);
        client_ = 0;
        thread_.setSetupHandler({});
    }
}

Status VirtualMidi::connectSource(PortRef port, EndpointRef source) {
    if (const Status status = std::exchange(failConnect, 0); status != 0) {
        return status;
    }
    if (port == 0 || port != port_) {
        return -EINVAL;
    }
    if (find(source) == sources_.end()) {
        return -ENOENT;
    }
    connected_ = source;
    ++connections_;
    thread_.setListening(true);
    return 0;
}

Status VirtualMidi::disconnectSource(PortRef port, EndpointRef source) {
    if (port == 0 || port != port_ || connected_ != source) {
        return -EINVAL;
    }
    connected_ = 0;
    thread_.setListening(false);
    return 0;
}

EndpointRef VirtualMidi::source(std::size_t index) {
    return index < sources_.size() ? sources_[index].reference : 0;
}

std::optional<std::string> VirtualMidi::displayName(EndpointRef source) {
    const auto found = find(source);
    return found != sources_.end() ? found->name : std::nullopt;
}

std::vector<VirtualMidi::Source>::iterator VirtualMidi::find(EndpointRef source) {
    return std::find_if(sources_.begin(), sources_.end(),
                        [source](const Source& s) { return s.reference == source; });
}

} // namespace tessivo::midi
