#include "Platform/PipeWire/Loop.h"

#include "Platform/PipeWire/Calls.h"

#include <cerrno>
#include <system_error>

namespace tessivo::pipewire {

Loop::Loop(const char* threadName, std::function<void()> reconcile)
    : settle_(std::move(reconcile)) {
    static const bool initialised = (pw_init(nullptr, nullptr), true);
    loop_.reset(initialised ? pw_thread_loop_new(threadName, nullptr) : nullptr);
    if (loop_ != nullptr) {
        pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
        // This configuration gives the audio thread its real-time priority.
        context_.reset(pw_context_new(
            loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
        event_ = addEvent(loop, onEvent, this);
        timer_ = addTimer(loop, onTimer, this);
    }
    if (event_ == nullptr || timer_ == nullptr || pw_thread_loop_start(loop_.get()) < 0) {
        throw std::system_error(errno, std::system_category(), threadName);
    }
}

Loop::~Loop() {
    stop();
}

void Loop::stop() {
    pw_thread_loop_stop(loop_.get());
}

void Loop::wake() {
    signalEvent(pw_thread_loop_get_loop(loop_.get()), event_);
    pw_thread_loop_signal(loop_.get(), false);
}

void Loop::setPollInterval(std::chrono::milliseconds interval) {
    // Setting a timer starts its interval anew, so that calls in quick succession would keep it
    // from ever expiring.
    if (std::exchange(pollInterval_, interval) != interval) {
        setInterval(pw_thread_loop_get_loop(loop_.get()), timer_, interval);
    }
}

void Loop::onEvent(void* data, std::uint64_t /*count*/) {
    static_cast<Loop*>(data)->settle_();
}

void Loop::onTimer(void* data, std::uint64_t /*expirations*/) {
    static_cast<Loop*>(data)->settle_();
}

} // namespace tessivo::pipewire
