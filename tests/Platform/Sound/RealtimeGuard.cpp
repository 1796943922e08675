#include "Platform/Sound/RealtimeGuard.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

// Plain thread-local data of the executable: reading it neither allocates nor locks. The kernel
// reads the first one: whether the thread's system calls are reported instead of carried out.
thread_local char watching = 0;
thread_local tessivo::test::realtime::Violations seen;

constexpr char kReport = 1;
constexpr char kCarryOut = 0;

// Counts the call, carries it out in the kernel's place, and lets the caller have the result.
void onSystemCall(int /*signal*/, siginfo_t* info, void* context) {
    watching = kCarryOut;
    const int savedError = errno;
    greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    if (info->si_syscall == SYS_write && registers[REG_RDX] == sizeof(std::uint64_t)) {
        ++seen.wakeUps;
    } else {
        ++seen.systemCalls;
        seen.lastSystemCall = info->si_syscall;
    }
    const long result =
        syscall(info->si_syscall, registers[REG_RDI], registers[REG_RSI], registers[REG_RDX],
                registers[REG_R10], registers[REG_R8], registers[REG_R9]);
    registers[REG_RAX] = result == -1 ? -errno : result;
    errno = savedError;
    watching = kReport;
}

void countAllocation() {
    if (watching != kCarryOut) {
        ++seen.allocations;
    }
}

} // namespace

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
    countAllocation();
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    countAllocation();
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
    countAllocation();
    return __libc_realloc(block, size);
}
void free(void* block) {
    countAllocation();
    __libc_free(block);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (watching != kCarryOut) {
        ++seen.locks;
    }
    static const auto next =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return next(mutex);
}

} // extern "C"

namespace tessivo::test::realtime {

Violations& Violations::operator+=(const Violations& more) {
    allocations += more.allocations;
    locks += more.locks;
    systemCalls += more.systemCalls;
    wakeUps += more.wakeUps;
    lastSystemCall = std::max(lastSystemCall, more.lastSystemCall);
    return *this;
}

bool watchSystemCalls() {
    // The thread's heap needs the system at its first use.
    void* volatile block = std::malloc(64);
    std::free(block);

    struct sigaction action {};
    action.sa_sigaction = onSystemCall;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    // The call that ends a signal handler is never reported. The C library hides where it is.
    struct {
        void* handler;
        unsigned long flags;
        void* restorer;
        std::uint64_t mask;
    } installed{};
    constexpr std::size_t kRestorerSize = 16;
    if (syscall(SYS_rt_sigaction, SIGSYS, nullptr, &installed, sizeof(installed.mask)) != 0) {
        return false;
    }
    return prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, installed.restorer,
                 kRestorerSize, &watching) == 0;
}

void begin(const Violations& before) {
    seen = before;
    watching = kReport;
}

Violations end() {
    watching = kCarryOut;
    return seen;
}

} // namespace tessivo::test::realtime
