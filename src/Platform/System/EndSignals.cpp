#include "Platform/System/EndSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tessivo {
namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};

int wake = -1;

// A handler may do no more than this.
void note(int) {
    const int error = errno;
    eventfd_write(wake, 1);
    errno = error;
}

// As somebody who starts a program in the background or under nohup may have had it ignored.
void replaceHandler(int signal, void (*expected)(int), void (*handler)(int)) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == expected) {
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

} // namespace

EndSignals::EndSignals() {
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    auto* notifier = new QSocketNotifier(wake, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        eventfd_t count = 0;
        eventfd_read(wake, &count);
        emit received();
    });
    for (const int signal : kSignals) {
        replaceHandler(signal, SIG_DFL, note);
    }
}

EndSignals::~EndSignals() {
    for (const int signal : kSignals) {
        replaceHandler(signal, note, SIG_DFL);
    }
    ::close(wake);
}

} // namespace tessivo
