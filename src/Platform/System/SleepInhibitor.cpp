#include "Platform/System/SleepInhibitor.h"

#include "Platform/System/LogLine.h"
#include "Platform/System/Portal.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include <utility>

namespace tessivo {
namespace {

using namespace Qt::StringLiterals;

constexpr uint kSuspend = 4;
constexpr uint kIdle = 8;

void close(const QString& handle) {
    QDBusConnection::sessionBus().send(QDBusMessage::createMethodCall(
        portal::kService, handle, u"org.freedesktop.portal.Request"_s, u"Close"_s));
}

void tellOnce(const QDBusError& error) {
    static bool isTold = false;
    if (!std::exchange(isTold, true)) {
        logLine("⚠️ The desktop cannot be asked to stay awake: " +
                error.message().toStdString());
    }
}

} // namespace

SleepInhibitor::SleepInhibitor(QObject* parent)
    : QObject(parent) {}

SleepInhibitor::~SleepInhibitor() {
    release();
}

void SleepInhibitor::setReason(const QString& reason) {
    if (std::exchange(reason_, reason) == reason) {
        return;
    }
    reason.isEmpty() ? release() : ask();
}

// What is granted late, after its reason has gone, has to be given back all the same; so the answer
// is awaited however long it takes.
void SleepInhibitor::ask() {
    const auto call =
        portal::call(u"org.freedesktop.portal.Inhibit"_s, u"Inhibit"_s,
                     {QString(), kSuspend | kIdle, QVariantMap{{u"reason"_s, reason_}}},
                     portal::kEndlessPatience);
    const auto* watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, request = ++asked_](QDBusPendingCallWatcher* answered) {
                const QDBusPendingReply<QDBusObjectPath> reply = *answered;
                if (reply.isError()) {
                    tellOnce(reply.error());
                } else {
                    granted(request, reply.value().path());
                }
                answered->deleteLater();
            });
}

// The request before is released only now, so that there is no gap. Answers may pass each other.
void SleepInhibitor::granted(std::uint64_t request, const QString& handle) {
    if (reason_.isEmpty() || request < held_) {
        close(handle);
        return;
    }
    release();
    held_ = request;
    handle_ = handle;
}

void SleepInhibitor::release() {
    if (!handle_.isEmpty()) {
        close(std::exchange(handle_, {}));
    }
}

} // namespace tessivo
