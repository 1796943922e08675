#include "Platform/PipeWire/Loop.h"

#include "Platform/PipeWire/Calls.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <system_error>
#include <utility>

namespace tessivo::pipewire {

namespace {

constexpr const char* kThreadName = "tessivo-sound";

} // namespace

const char* realtimeConfiguration() {
    // It became every client's in the first release candidate of 1.4.
    return ::strverscmp(pw_get_library_version(), "1.3.81") < 0 ? "client-rt.conf" : "client.conf";
}

std::shared_ptr<LoopThread> LoopThread::shared() {
    static std::mutex mutex;
    static std::weak_ptr<LoopThread> current;
    const std::lock_guard lock(mutex);
    auto thread = current.lock();
    if (!thread) {
        thread.reset(new LoopThread);
        current = thread;
    }
    return thread;
}

LoopThread::LoopThread() {
    static const bool initialised = (pw_init(nullptr, nullptr), true);
    loop_.reset(initialised ? pw_thread_loop_new(kThreadName, nullptr) : nullptr);
    if (loop_ != nullptr) {
        context_.reset(pw_context_new(
            pw_thread_loop_get_loop(loop_.get()),
            pw_properties_new(PW_KEY_CONFIG_NAME, realtimeConfiguration(), nullptr), 0));
    }
    if (loop_ == nullptr || pw_thread_loop_start(loop_.get()) < 0) {
        throw std::system_error(errno, std::system_category(), kThreadName);
    }
}

LoopThread::~LoopThread() {
    pw_thread_loop_stop(loop_.get());
}

Loop::Loop(std::function<void()> reconcile)
    : settle_(std::move(reconcile)) {
    locked([this] {
        event_ = addEvent(loop(), onEvent, this);
        timer_ = addTimer(loop(), onTimer, this);
        if (event_ == nullptr || timer_ == nullptr) {
            const int error = errno;
            removeSources();
            throw std::system_error(error, std::system_category(), kThreadName);
        }
    });
}

Loop::~Loop() {
    stop([] {});
}

// What is removed by another thread than the loop's might just have been found ready there, and
// would be called once more.
void Loop::stop(std::function<void()> atLast) {
    locked([&] {
        if (event_ == nullptr) {
            return;
        }
        last_ = std::move(atLast);
        signalEvent(loop(), event_);
        while (event_ != nullptr) {
            pw_thread_loop_wait(thread_->loop());
        }
    });
}

void Loop::removeSources() {
    for (spa_source** const source : {&event_, &timer_}) {
        if (*source != nullptr) {
            destroySource(loop(), std::exchange(*source, nullptr));
        }
    }
}

void Loop::wake() {
    signalEvent(loop(), event_);
    pw_thread_loop_signal(thread_->loop(), false);
}

void Loop::setPollInterval(std::chrono::milliseconds interval) {
    // Setting a timer starts its interval anew, so that calls in quick succession would keep it
    // from ever expiring.
    if (std::exchange(pollInterval_, interval) != interval) {
        setInterval(loop(), timer_, interval);
    }
}

void Loop::onEvent(void* data, std::uint64_t /*count*/) {
    auto& self = *static_cast<Loop*>(data);
    if (!self.last_) {
        self.settle_();
        return;
    }
    std::exchange(self.last_, nullptr)();
    self.removeSources();
    pw_thread_loop_signal(self.thread_->loop(), false);
}

void Loop::onTimer(void* data, std::uint64_t /*expirations*/) {
    static_cast<Loop*>(data)->settle_();
}

} // namespace tessivo::pipewire
