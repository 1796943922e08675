#pragma once

#include "Platform/PipeWire/Handles.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace tessivo::pipewire {

// The name of the configuration that gives a client's audio thread its real-time priority, with the
// library that is there.
const char* realtimeConfiguration();

// The thread that runs the connections of all clients in the program, and the client library's
// context, whose audio thread runs all their process calls: one thread is woken in each cycle,
// however many nodes we have in it. Begins with the first client and ends with the last.
class LoopThread {
public:
    // Throws std::system_error when there is no memory or no descriptor for a thread.
    static std::shared_ptr<LoopThread> shared();
    ~LoopThread();
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;

    pw_thread_loop* loop() const { return loop_.get(); }
    pw_context* context() const { return context_.get(); }

private:
    LoopThread();

    Owner<pw_thread_loop> loop_;
    Owner<pw_context> context_;
};

// A client's share of that thread: the thread calls the client's event functions, and the lock
// protects whatever they touch. It is the same lock for all clients. Functions are for any thread
// unless they say otherwise.
class Loop {
public:
    // reconcile is called on the thread, with the loop locked, after each wake() and each poll
    // interval. Throws std::system_error when there is no memory or no descriptor for a thread.
    explicit Loop(std::function<void()> reconcile);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    // Null when the client library is not installed completely.
    pw_context* context() const { return thread_->context(); }

    // Runs work with the loop locked and returns what it returns. The loop's own thread may
    // lock again. Whoever is to await() must have locked it once only.
    template <typename Work> decltype(auto) locked(Work&& work) {
        const Lock lock(thread_->loop());
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
        pw_thread_loop_get_time(thread_->loop(), &deadline, limit.count());
        while (!condition()) {
            if (pw_thread_loop_timed_wait_full(thread_->loop(), &deadline) != 0) {
                return condition();
            }
        }
        return true;
    }

    // Not locked, and not on the thread. Calls the function there, so that it may destroy what
    // the thread uses. When it returns, reconcile is not running and is not called again, and
    // wake() must not be called. Harmless when repeated.
    void stop(std::function<void()> atLast);

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

    pw_loop* loop() const { return pw_thread_loop_get_loop(thread_->loop()); }
    void removeSources();

    static void onEvent(void* data, std::uint64_t count);
    static void onTimer(void* data, std::uint64_t expirations);

    std::function<void()> settle_;
    std::function<void()> last_; // to be called instead, once
    std::shared_ptr<LoopThread> thread_ = LoopThread::shared();
    spa_source* event_ = nullptr;
    spa_source* timer_ = nullptr;
    std::chrono::milliseconds pollInterval_{0};
};

} // namespace tessivo::pipewire
