#include "Platform/System/SingleProgram.h"

#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QStandardPaths>

#include <array>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace tessivo {
namespace {

using namespace Qt::StringLiterals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPatience{3000};
constexpr milliseconds kPause{50};
constexpr auto kObject = "/tessivo";

// A user with several documents folders, such as a tester, may have a program for each.
std::string lockFile() {
    const QByteArray folder =
        QCryptographicHash::hash(documentsDirectory().toUtf8(), QCryptographicHash::Md5).toHex();
    return (QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + u"/tessivo-"_s +
            QString::fromLatin1(folder.left(8)) + u".lock"_s)
        .toStdString();
}

QDBusConnection connectToBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"tessivo"_s);
}

QDBusMessage activation(const QString& address) {
    auto message = QDBusMessage::createMethodCall(address, QString::fromLatin1(kObject),
                                                  u"org.freedesktop.Application"_s, u"Activate"_s);
    message << QVariantMap{{u"activation-token"_s, qEnvironmentVariable("XDG_ACTIVATION_TOKEN")}};
    return message;
}

} // namespace

SingleProgram::SingleProgram()
    : file_(::open(lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    , isFirst_(lock()) {}

SingleProgram::~SingleProgram() = default;

bool SingleProgram::lock() {
    const files::Lock lock = files::tryLock(file_.get());
    if (lock == files::Lock::ours) {
        [[maybe_unused]] const int emptied = ::ftruncate(file_.get(), 0); // a dead one's address
    }
    return lock != files::Lock::anothers;
}

// A bus may not answer for a long time. Nobody waits for the thread: it has nothing of ours.
void SingleProgram::listen() {
    std::thread([self = QPointer(this)] {
        const QDBusConnection connected = connectToBus();
        MainQueue::post([self, connected] {
            QDBusConnection bus = connected;
            if (self && bus.registerObject(QString::fromLatin1(kObject), self,
                                           QDBusConnection::ExportScriptableSlots)) {
                const std::string address = bus.baseService().toStdString();
                [[maybe_unused]] const auto written =
                    ::pwrite(self->file_.get(), address.data(), address.size(), 0);
            }
        });
    }).detach();
}

bool SingleProgram::callFirst() {
    const QDBusConnection bus = connectToBus();
    const auto end = steady_clock::now() + kPatience;
    for (; steady_clock::now() < end; std::this_thread::sleep_for(kPause)) {
        isFirst_ = lock();
        if (isFirst_) {
            return true;
        }
        std::array<char, 64> address{};
        const ssize_t length = ::pread(file_.get(), address.data(), address.size(), 0);
        if (length > 0 && bus.isConnected()) {
            const auto message = activation(QString::fromLatin1(address.data(), length));
            if (bus.call(message, QDBus::Block, static_cast<int>(kPatience.count())).type() ==
                QDBusMessage::ReplyMessage) {
                return true;
            }
        }
    }
    return false;
}

void SingleProgram::Activate(const QVariantMap& platformData) {
    emit called(platformData.value(u"activation-token"_s).toByteArray());
}

} // namespace tessivo
