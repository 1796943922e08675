#pragma once

#include "Platform/PipeWire/Handles.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tessivo::pipewire {

// What is told of the server's objects. Called on the loop's thread, with the loop locked.
class RegistryListener {
public:
    virtual void objectAdded(std::uint32_t id, std::string_view type,
                             const spa_dict* properties) = 0;
    virtual void objectRemoved(std::uint32_t id) = 0;

protected:
    ~RegistryListener() = default;
};

// One connection to the server, from the first byte until it is lost. Created, used and
// destroyed with its loop locked.
class Connection {
public:
    // changed is called on the loop's thread when hasAnswered() or isLost() has become true.
    // The server has answered after that many round trips, each of which is sent when the one
    // before has returned. Throws std::system_error when there is no server to connect to.
    Connection(pw_context* context, const std::string& applicationName, int roundTrips,
               std::function<void()> changed);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    pw_core* core() const { return core_.get(); }
    bool hasAnswered() const { return roundTrips_ == 0; }
    bool isLost() const { return lost_; } // for good

    // The server's configured sample rate, Hz; 0 until it is known.
    double clockRate() const { return clockRate_; }

    // Before the loop is unlocked after construction, so that no object is missed.
    void setRegistryListener(RegistryListener& listener) { registryListener_ = &listener; }

    // A proxy of an object that the registry listener knows; null when it has just gone.
    template <typename Object>
    ProxyOwner<Object> bind(std::uint32_t id, const char* type, std::uint32_t version) {
        return ProxyOwner<Object>(
            static_cast<Object*>(pw_registry_bind(registry_.get(), id, type, version, 0)));
    }

private:
    static void onInfo(void* data, const pw_core_info* info);
    static void onDone(void* data, std::uint32_t id, int sequence);
    static void onError(void* data, std::uint32_t id, int sequence, int result,
                        const char* message);
    static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties);
    static void onGlobalRemove(void* data, std::uint32_t id);

    std::function<void()> changed_;
    RegistryListener* registryListener_ = nullptr;
    int roundTrips_; // still to go
    int sequence_ = -1;
    bool lost_ = false;
    double clockRate_ = 0.0;
    Owner<pw_core> core_;
    Listener coreHook_;
    ProxyOwner<pw_registry> registry_;
    Listener registryHook_;
};

} // namespace tessivo::pipewire
