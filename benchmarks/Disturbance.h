#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>

namespace tessivo::benchmark {

// What disturbance.cpp, loaded before the application, does to it. The benchmark orders it
// through a file that both have mapped; its path is in the variable below.
struct Disturbance {
    static constexpr const char* kVariable = "TESSIVO_DISTURBANCE";

    std::atomic<bool> isDiskBlocked{false};       // for files of takes
    std::atomic<bool> isMainThreadBlocked{false}; // as soon as it comes back to its event loop
    // How often each was felt.
    std::atomic<unsigned> diskWaits{0};
    std::atomic<unsigned> mainThreadWaits{0};

    // Nothing when there is no such file; a file of zeros is a disturbance that does nothing.
    static Disturbance* map(const char* path) {
        const int descriptor = ::open(path, O_RDWR | O_CLOEXEC);
        if (descriptor < 0 || ftruncate(descriptor, sizeof(Disturbance)) != 0) {
            return nullptr;
        }
        void* const memory =
            mmap(nullptr, sizeof(Disturbance), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        return memory != MAP_FAILED ? static_cast<Disturbance*>(memory) : nullptr;
    }
};

} // namespace tessivo::benchmark
