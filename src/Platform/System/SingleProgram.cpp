#include "Platform/System/SingleProgram.h"

#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Platform/System/ProgramId.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QStandardPaths>
#include <QUrl>

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
constexpr auto kObject = "/org/tessivo/Tessivo"; // where the id leads
constexpr auto kActivationToken = "activation-token";

// A user with several documents folders, such as a tester, may have a program for each.
std::string lockFile() {
    const QByteArray folder =
        QCryptographicHash::hash(documentsDirectory().toUtf8(), QCryptographicHash::Md5).toHex();
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    // In a sandbox every run has a runtime folder of its own, with one in it that they share.
    if (const QString id = qEnvironmentVariable("FLATPAK_ID"); !id.isEmpty()) {
        runtime += u"/app/"_s + id;
    }
    return (runtime + u"/tessivo-"_s + QString::fromLatin1(folder.left(8)) + u".lock"_s)
        .toStdString();
}

QDBusConnection connectToBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"tessivo"_s);
}

QDBusMessage callTo(const QString& address, const QStringList& files) {
    auto message = QDBusMessage::createMethodCall(address, QString::fromLatin1(kObject),
                                                  u"org.freedesktop.Application"_s,
                                                  files.isEmpty() ? u"Activate"_s : u"Open"_s);
    if (!files.isEmpty()) {
        QStringList urls;
        for (const QString& file : files) {
            urls << QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
        }
        message << urls;
    }
    message << QVariantMap{
        {QString::fromLatin1(kActivationToken), qEnvironmentVariable("XDG_ACTIVATION_TOKEN")}};
    return message;
}

QByteArray tokenIn(const QVariantMap& platformData) {
    return platformData.value(QString::fromLatin1(kActivationToken)).toByteArray();
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
        QDBusConnection connected = connectToBus();
        const std::string address = connected.registerService(QString::fromLatin1(kProgramId))
                                        ? kProgramId
                                        : connected.baseService().toStdString();
        MainQueue::post([self, connected, address] {
            QDBusConnection bus = connected;
            if (self && bus.registerObject(QString::fromLatin1(kObject), self,
                                           QDBusConnection::ExportScriptableSlots)) {
                [[maybe_unused]] const auto written =
                    ::pwrite(self->file_.get(), address.data(), address.size(), 0);
            }
        });
    }).detach();
}

bool SingleProgram::callFirst(const QStringList& files) {
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
            const auto message = callTo(QString::fromLatin1(address.data(), length), files);
            if (bus.call(message, QDBus::Block, static_cast<int>(kPatience.count())).type() ==
                QDBusMessage::ReplyMessage) {
                return true;
            }
        }
    }
    return false;
}

void SingleProgram::Activate(const QVariantMap& platformData) {
    emit called(tokenIn(platformData), {});
}

void SingleProgram::Open(const QStringList& urls, const QVariantMap& platformData) {
    QStringList files;
    for (const QString& url : urls) {
        if (const QUrl file(url); file.isLocalFile()) {
            files << file.toLocalFile();
        }
    }
    emit called(tokenIn(platformData), files);
}

} // namespace tessivo
