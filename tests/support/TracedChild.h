#pragma once

#include <csignal>
#include <exception>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessivo::test {

// Runs an action in a process of its own, after a preparation, and looks at each system call of
// the action as it begins and as it ends. The process is killed when look() returns false.
// Returns its wait status; the exit code is 1 if the action throws.
template <class Preparation, class Action, class Look>
int traceSystemCalls(Preparation&& prepare, Action&& action, Look&& look) {
    const pid_t child = ::fork();
    if (child == 0) {
        prepare();
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        try {
            action();
            ::_exit(0);
        } catch (const std::exception&) {
            ::_exit(1);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (; WIFSTOPPED(status); ::waitpid(child, &status, 0)) {
        __ptrace_syscall_info call{};
        ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(call), &call);
        if (!look(call) || ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) {
            ::kill(child, SIGKILL);
        }
    }
    return status;
}

} // namespace tessivo::test
