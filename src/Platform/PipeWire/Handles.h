#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

// Owners of PipeWire objects. Each object belongs to one loop: it is created and destroyed with
// that loop locked, or on the loop's thread, which holds the lock while it calls us.
namespace tessivo::pipewire {

struct Deleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};
template <typename Object> using Owner = std::unique_ptr<Object, Deleter>;

// A proxy of an object in the server: a registry, a node, a link, a metadata.
struct ProxyDeleter {
    template <typename Object> void operator()(Object* object) const {
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(object));
    }
};
template <typename Object> using ProxyOwner = std::unique_ptr<Object, ProxyDeleter>;

// One listener on an object. Declare it after the object's owner, so that it is removed first.
class Listener {
public:
    Listener() = default;
    ~Listener() { remove(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Removes the previous listener and returns the hook, to be passed to an add_listener function.
    spa_hook* fresh() {
        remove();
        attached_ = true;
        return &hook_;
    }

    void remove() {
        if (std::exchange(attached_, false)) {
            spa_hook_remove(&hook_);
        }
        hook_ = {};
    }

private:
    spa_hook hook_{};
    bool attached_ = false;
};

// A table of event functions; those that fill() does not set stay null.
template <typename Events, typename Fill> Events eventTable(std::uint32_t version, Fill fill) {
    Events events{};
    events.version = version;
    fill(events);
    return events;
}

// The value of a key; empty when there is none.
inline std::string dictValue(const spa_dict* dict, const char* key) {
    const char* value = dict != nullptr ? spa_dict_lookup(dict, key) : nullptr;
    return value != nullptr ? value : "";
}

} // namespace tessivo::pipewire
