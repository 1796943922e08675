#pragma once

#include "Platform/PipeWire/Calls.h"

#include <pipewire/pipewire.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

// Owners of PipeWire objects. All of them belong to one loop and are made and destroyed
// with that loop locked (or on its thread, which comes to the same).
namespace tessivo::pipewire {

struct Deleter {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};
template <typename Object> using Owner = std::unique_ptr<Object, Deleter>;

// A registry, node or metadata of the server, seen through its proxy.
struct ProxyDeleter {
    template <typename Object> void operator()(Object* object) const {
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(object));
    }
};
template <typename Object> using ProxyOwner = std::unique_ptr<Object, ProxyDeleter>;

// One listener on an object. To be declared behind the object's owner, so that it goes first.
class Listener {
public:
    Listener() = default;
    ~Listener() { remove(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // The hook for one of the add_listener functions, which must follow at once.
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

// An event or timer source of a loop.
class LoopSource {
public:
    LoopSource() = default;
    LoopSource(pw_loop* loop, spa_source* source)
        : loop_(loop)
        , source_(source) {}
    ~LoopSource() { reset(); }
    LoopSource(const LoopSource&) = delete;
    LoopSource& operator=(const LoopSource&) = delete;
    LoopSource(LoopSource&& other) noexcept
        : loop_(other.loop_)
        , source_(std::exchange(other.source_, nullptr)) {}
    LoopSource& operator=(LoopSource&& other) noexcept {
        std::swap(loop_, other.loop_);
        std::swap(source_, other.source_);
        return *this;
    }

    explicit operator bool() const { return source_ != nullptr; }

    // For an event: its function is called on the loop, soon. Any thread.
    void signal() { signalEvent(loop_, source_); }
    // For a timer: how often it goes off; 0 is never.
    void setPeriod(std::chrono::nanoseconds interval) { setInterval(loop_, source_, interval); }

    void reset() {
        if (source_ != nullptr) {
            destroySource(loop_, std::exchange(source_, nullptr));
        }
    }

private:
    pw_loop* loop_ = nullptr;
    spa_source* source_ = nullptr;
};

// Runs work with the loop locked and returns what it returns. The lock may be taken again
// by the thread that has it.
template <typename Work> decltype(auto) withLoop(pw_thread_loop* loop, Work&& work) {
    struct Lock {
        explicit Lock(pw_thread_loop* l)
            : loop(l) {
            pw_thread_loop_lock(loop);
        }
        ~Lock() { pw_thread_loop_unlock(loop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        pw_thread_loop* loop;
    };
    const Lock lock(loop);
    return std::forward<Work>(work)();
}

// The value of a key, empty when there is none.
inline std::string dictValue(const spa_dict* dict, const char* key) {
    const char* value = dict != nullptr ? spa_dict_lookup(dict, key) : nullptr;
    return value != nullptr ? value : "";
}

} // namespace tessivo::pipewire
