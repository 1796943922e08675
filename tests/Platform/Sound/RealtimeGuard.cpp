#include "Platform/Sound/RealtimeGuard.h"

#include <dlfcn.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

// Plain thread-local data of the executable: reading it neither allocates nor locks.
thread_local bool watching = false;
thread_local tessivo::test::realtime::Violations seen;

void countAllocation() {
    if (watching) {
        ++seen.allocations;
    }
}

void onSystemCall(int, siginfo_t* info, void*) {
    if (watching) {
        ++seen.systemCalls;
        seen.lastSystemCall = info->si_syscall;
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
    if (watching) {
        ++seen.locks;
    }
    static const auto next =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return next(mutex);
}

} // extern "C"

namespace tessivo::test::realtime {

bool watchSystemCalls() {
    // The thread's heap needs the system once, and again when the thread ends.
    void* volatile block = std::malloc(64);
    std::free(block);

    struct sigaction action {};
    action.sa_sigaction = onSystemCall;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);

    // What a thread needs to end is let through; everything else traps.
    constexpr std::array allowed = {SYS_exit,           SYS_exit_group, SYS_rt_sigreturn,
                                    SYS_rt_sigprocmask, SYS_madvise,    SYS_munmap,
                                    SYS_futex};
    std::array<sock_filter, 2 * allowed.size() + 2> program{};
    std::size_t n = 0;
    program[n++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    for (const auto number : allowed) {
        program[n++] =
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1);
        program[n++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    }
    program[n++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    const sock_fprog filter{static_cast<unsigned short>(n), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

void begin() {
    seen = {};
    watching = true;
}

Violations end() {
    watching = false;
    return seen;
}

} // namespace tessivo::test::realtime
