#include "Platform/System/SessionBus.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/System/LogLine.h"

#include <QByteArray>
#include <QRegularExpression>
#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace tessivo {
namespace {

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

constexpr int kPatience = 1000; // ms
constexpr auto kAddress = "DBUS_SESSION_BUS_ADDRESS";
constexpr auto kNoBus = "unix:path=/dev/null"; // refuses at once, and nobody looks for another

// The name of the bus's socket, with a leading NUL where it is none of a file; empty when the bus
// is not reached by such a socket.
QByteArray socketName() {
    const QString address = qEnvironmentVariable(kAddress);
    if (address.isEmpty()) {
        return qgetenv("XDG_RUNTIME_DIR") + "/bus";
    }
    static const QRegularExpression kSocket(u"^unix:(?:[^;]*,)?(path|abstract)=([^,;]+)"_s);
    const auto parts = kSocket.match(address);
    const QByteArray name = QByteArray::fromPercentEncoding(parts.captured(2).toUtf8());
    return parts.captured(1) == u"abstract" ? '\0' + name : name;
}

bool hangs(const QByteArray& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || static_cast<std::size_t>(name.size()) > sizeof(address.sun_path)) {
        return false;
    }
    std::copy(name.begin(), name.end(), std::begin(address.sun_path));
    const auto length = offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(name.size());
    const files::FileDescriptor bus(
        ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (bus.get() < 0 || ::connect(bus.get(), reinterpret_cast<const sockaddr*>(&address),
                                   static_cast<socklen_t>(length)) != 0) {
        return errno == EAGAIN; // so many wait already; where nobody listens, nobody has to wait
    }
    // Asks for the ways to log in, which any bus tells anybody.
    constexpr auto kQuestion = "\0AUTH\r\n"sv;
    ::send(bus.get(), kQuestion.data(), kQuestion.size(), MSG_NOSIGNAL);
    pollfd answer{bus.get(), POLLIN, 0};
    return ::poll(&answer, 1, kPatience) == 0;
}

} // namespace

void leaveOutHungSessionBus() {
    if (hangs(socketName())) {
        qputenv(kAddress, kNoBus);
        logLine("⚠️ The session bus does not answer: screen readers cannot read this run's "
                "windows");
    }
}

} // namespace tessivo
