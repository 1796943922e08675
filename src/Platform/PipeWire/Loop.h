#pragma once

#include "Platform/PipeWire/Handles.h"

#include <chrono>
#include <functional>
#include <utility>

namespace tessivo::pipewire {

// A thread that runs a client's connections and calls its event functions, with the lock that
// protects whatever they touch. Functions are for any thread unless they say otherwise.
class Loop {
public:
    // reconcile is called on the thread, with the loop locked, after each wake() and each poll
    // interval. Throws std::system_error when there is no memory or no descriptor for a thread.
    Loop(const char* threadName, std::function<void()> reconcile);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    // Null when the client library is not installed completely.
    pw_context* context() const { return context_.get(); }

    // Runs work with the loop locked and returns what it returns. The loop's own thread may
    // lock again. Whoever is to await() must have locked it once only.
    template <typename Work> decltype(auto) locked(Work&& work) {
        const Lock lock(loop_.get());
        return std::forward<Work>(work)();
    }

    // Has reconcile called soon, once for several calls, and await() look at its condition.
    // Objects must not be destroyed in their own event functions; reconcile may do that.
    void wake();

    // Loop locked. How often reconcile is called anyway; 0 is never.
    void setPollInterval(std::chrono::milliseconds interval);

    // Loop locked; not on the loop's thread. Unlocks the loop until the condition holds. False
    // when it still does not at the limit.
    template <typename Condition>
    bool await(std::chrono::nanoseconds limit, const Condition& condition) {
        timespec deadline{};
        pw_thread_loop_get_time(loop_.get(), &deadline, limit.count());
        while (!condition()) {
            if (pw_thread_loop_timed_wait_full(loop_.get(), &deadline) != 0) {
                return condition();
            }
        }
        return true;
    }

    // Not locked. When it returns, reconcile and event functions are not running and are not
    // called again. Harmless when repeated.
    void stop();

private:
    class Lock {
    public:
        explicit Lock(pw_thread_loop* loop)
            : loop_(loop) {
            pw_thread_loop_lock(loop_);
        }
        ~Lock() { pw_thread_loop_unlock(loop_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pw_thread_loop* loop_;
    };

    static void onEvent(void* data, std::uint64_t count);
    static void onTimer(void* data, std::uint64_t expirations);

    std::function<void()> settle_;
    Owner<pw_thread_loop> loop_;
    Owner<pw_context> context_;
    spa_source* event_ = nullptr; // of the loop, which frees both
    spa_source* timer_ = nullptr;
    std::chrono::milliseconds pollInterval_{0};
};

} // namespace tessivo::pipewire
