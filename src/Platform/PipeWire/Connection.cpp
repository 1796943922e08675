#include "Platform/PipeWire/Connection.h"

#include "Platform/PipeWire/Calls.h"
#include "Platform/PipeWire/Identity.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace tessivo::pipewire {

Connection::Connection(pw_context* context, const std::string& applicationName, int roundTrips,
                       std::function<void()> changed)
    : changed_(std::move(changed))
    , roundTrips_(roundTrips) {
    static const auto coreEvents =
        eventTable<pw_core_events>(PW_VERSION_CORE_EVENTS, [](pw_core_events& events) {
            events.info = onInfo;
            events.done = onDone;
            events.error = onError;
        });
    static const auto registryEvents =
        eventTable<pw_registry_events>(PW_VERSION_REGISTRY_EVENTS, [](pw_registry_events& events) {
            events.global = onGlobal;
            events.global_remove = onGlobalRemove;
        });
    errno = 0;
    core_.reset(pw_context_connect(context,
                                   pw_properties_new(PW_KEY_APP_NAME, applicationName.c_str(),
                                                     PW_KEY_APP_ID, kApplicationId,
                                                     PW_KEY_APP_ICON_NAME, kApplicationId, nullptr),
                                   0));
    if (core_ != nullptr) {
        registry_.reset(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0));
    }
    if (registry_ == nullptr) {
        throw std::system_error(errno > 0 ? errno : EHOSTDOWN, std::system_category());
    }
    listenTo(core_.get(), coreHook_.fresh(), coreEvents, this);
    listenTo(registry_.get(), registryHook_.fresh(), registryEvents, this);
    sequence_ = sync(core_.get());
}

void Connection::onInfo(void* data, const pw_core_info* info) {
    const std::string rate = dictValue(info->props, "default.clock.rate");
    static_cast<Connection*>(data)->clockRate_ = std::strtod(rate.c_str(), nullptr);
}

void Connection::onDone(void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<Connection*>(data);
    if (id != PW_ID_CORE || sequence != self.sequence_ || self.roundTrips_ == 0) {
        return;
    }
    if (--self.roundTrips_ > 0) {
        self.sequence_ = sync(self.core_.get());
    } else {
        self.changed_();
    }
}

void Connection::onError(void* data, std::uint32_t id, int /*sequence*/, int result,
                         const char* /*message*/) {
    auto& self = *static_cast<Connection*>(data);
    // Errors of other objects are sent to their own listeners as well. A server that is killed
    // while it has something of ours to read ends the connection by a reset.
    if (id == PW_ID_CORE && (result == -EPIPE || result == -ECONNRESET)) {
        self.lost_ = true;
        self.changed_();
    }
}

void Connection::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/,
                          const char* type, std::uint32_t /*version*/, const spa_dict* properties) {
    if (RegistryListener* const listener = static_cast<Connection*>(data)->registryListener_) {
        listener->objectAdded(id, type, properties);
    }
}

void Connection::onGlobalRemove(void* data, std::uint32_t id) {
    if (RegistryListener* const listener = static_cast<Connection*>(data)->registryListener_) {
        listener->objectRemoved(id);
    }
}

} // namespace tessivo::pipewire
