// Loaded before the application, this blocks its disk or its main thread as long as a benchmark
// wants it. The disk: whatever opens, writes, syncs or closes a file below a folder LooperFiles
// waits, on whichever thread it is. The main thread: it waits when its event loop has heard of
// something, before it can look at it, as if it was still busy with something slow.

#include "Disturbance.h"

#include <dlfcn.h>
#include <poll.h>

#include <array>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

using tessivo::benchmark::Disturbance;

Disturbance* disturbance = nullptr;

[[gnu::constructor]] void begin() {
    if (const char* const path = std::getenv(Disturbance::kVariable)) {
        disturbance = Disturbance::map(path);
    }
    // What the application starts is left alone.
    unsetenv("LD_PRELOAD");
}

template <typename Function> Function original(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void waitWhile(const std::atomic<bool>& isBlocked, std::atomic<unsigned>& waits) {
    ++waits;
    while (isBlocked) {
        const timespec millisecond{0, 1'000'000};
        nanosleep(&millisecond, nullptr);
    }
}

void waitForDisk(const char* path) {
    if (disturbance != nullptr && disturbance->isDiskBlocked &&
        std::strstr(path, "/LooperFiles") != nullptr) {
        waitWhile(disturbance->isDiskBlocked, disturbance->diskWaits);
    }
}

void waitForDisk(int descriptor) {
    if (disturbance == nullptr || !disturbance->isDiskBlocked) {
        return;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, 4096> path{};
    if (readlink(link.c_str(), path.data(), path.size() - 1) > 0) {
        waitForDisk(path.data());
    }
}

void waitOnMainThread() {
    if (disturbance != nullptr && disturbance->isMainThreadBlocked && gettid() == getpid()) {
        waitWhile(disturbance->isMainThreadBlocked, disturbance->mainThreadWaits);
    }
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto next = original<int (*)(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t); // any value where there is none: it is not used
    va_end(arguments);
    waitForDisk(path);
    return next(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static const auto next = original<int (*)(const char*, int, ...)>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    waitForDisk(path);
    return next(path, flags, mode);
}

ssize_t write(int descriptor, const void* data, std::size_t size) {
    static const auto next = original<ssize_t (*)(int, const void*, std::size_t)>("write");
    waitForDisk(descriptor);
    return next(descriptor, data, size);
}

int fsync(int descriptor) {
    static const auto next = original<int (*)(int)>("fsync");
    waitForDisk(descriptor);
    return next(descriptor);
}

int fdatasync(int descriptor) {
    static const auto next = original<int (*)(int)>("fdatasync");
    waitForDisk(descriptor);
    return next(descriptor);
}

int close(int descriptor) {
    static const auto next = original<int (*)(int)>("close");
    waitForDisk(descriptor);
    return next(descriptor);
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    static const auto next = original<int (*)(pollfd*, nfds_t, int)>("poll");
    const int result = next(descriptors, count, timeout);
    waitOnMainThread();
    return result;
}

int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask) {
    static const auto next =
        original<int (*)(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
    const int result = next(descriptors, count, timeout, mask);
    waitOnMainThread();
    return result;
}
}
