#include "Platform/Midi/PipeWireMidi.h"

#include <cerrno>
#include <utility>

namespace tessivo::midi {

class PipeWireMidi::Impl {};

PipeWireMidi::PipeWireMidi(std::string /*applicationName*/)
    : impl_(std::make_unique<Impl>()) {}
PipeWireMidi::~PipeWireMidi() = default;
Status PipeWireMidi::createClient(const std::string& /*name*/, SetupHandler /*handler*/,
                                  ClientRef& client) {
    client = 0;
    return -ENOSYS;
}
Status PipeWireMidi::createInputPort(ClientRef /*client*/, const std::string& /*name*/,
                                     PacketHandler /*handler*/, PortRef& port) {
    port = 0;
    return -ENOSYS;
}
void PipeWireMidi::disposePort(PortRef /*port*/) {}
void PipeWireMidi::disposeClient(ClientRef /*client*/) {}
Status PipeWireMidi::connectSource(PortRef /*port*/, EndpointRef /*source*/) {
    return -ENOSYS;
}
Status PipeWireMidi::disconnectSource(PortRef /*port*/, EndpointRef /*source*/) {
    return -ENOSYS;
}
std::size_t PipeWireMidi::sourceCount() {
    return 0;
}
EndpointRef PipeWireMidi::source(std::size_t /*index*/) {
    return 0;
}
std::optional<std::string> PipeWireMidi::displayName(EndpointRef /*source*/) {
    return {};
}
std::uint64_t PipeWireMidi::lostPackets() const {
    return 0;
}

} // namespace tessivo::midi
