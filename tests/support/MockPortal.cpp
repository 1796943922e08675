#include "support/MockPortal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QTimer>
#include <QUrl>

#include <stdexcept>
#include <utility>

namespace tessivo::test {

using namespace Qt::StringLiterals;

namespace {

const QString kAppearance = u"org.freedesktop.appearance"_s;
const QString kObject = u"/org/freedesktop/portal/desktop"_s;
using Groups = QMap<QString, QVariantMap>;

} // namespace

MockPortal::MockPortal(QString folder, std::chrono::milliseconds delay)
    : folder_(std::move(folder))
    , delay_(delay) {
    qDBusRegisterMetaType<Groups>();
    QDBusConnection connection =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"mock"_s);
    const bool isThere = connection.registerVirtualObject(kObject, this, QDBusConnection::SubPath);
    moveToThread(&thread_);
    thread_.start();
    if (!isThere || !connection.registerService(u"org.freedesktop.portal.Desktop"_s)) {
        throw std::runtime_error("the portal cannot be on the session bus");
    }
}

MockPortal::~MockPortal() {
    QDBusConnection::disconnectFromBus(u"mock"_s);
    thread_.quit();
    thread_.wait();
}

QDBusConnection MockPortal::bus() const {
    return QDBusConnection(u"mock"_s);
}

void MockPortal::set(const QString& key, const QVariant& value) {
    {
        const std::scoped_lock lock(mutex_);
        settings_[key] = value;
    }
    auto message = QDBusMessage::createSignal(kObject, u"org.freedesktop.portal.Settings"_s,
                                              u"SettingChanged"_s);
    message << kAppearance << key << QVariant::fromValue(QDBusVariant(value));
    bus().send(message);
}

std::vector<std::string> MockPortal::promises() const {
    const std::scoped_lock lock(mutex_);
    return promises_;
}

bool MockPortal::handleMessage(const QDBusMessage& message, const QDBusConnection& /*bus*/) {
    message.setDelayedReply(true);
    QTimer::singleShot(delay_, this, [this, message] {
        const QVariant answer = answerTo(message);
        bus().send(answer.isValid()
                       ? message.createReply(answer)
                       : message.createErrorReply(QDBusError::UnknownMethod, message.member()));
    });
    return true;
}

QVariant MockPortal::answerTo(const QDBusMessage& message) {
    const std::scoped_lock lock(mutex_);
    if (message.member() == u"ReadAll") {
        return QVariant::fromValue(Groups{{kAppearance, settings_}});
    }
    if (message.member() == u"Get") {
        return QVariant::fromValue(QDBusVariant(3U));
    }
    const QDBusObjectPath request(kObject + u"/request/"_s + QString::number(++requests_));
    const auto options = qdbus_cast<QVariantMap>(message.arguments().value(2));
    if (message.member() == u"Inhibit" && message.arguments().value(1).toUInt() == (4 | 8)) {
        reasons_[request.path()] = options[u"reason"_s].toString().toStdString();
        promises_.push_back("+" + reasons_[request.path()]);
        return QVariant::fromValue(request);
    }
    if (message.member() == u"Close" && reasons_.contains(message.path())) {
        promises_.push_back("-" + reasons_.take(message.path()));
        return {}; // nobody waits for it
    }
    if (message.member() == u"SaveFile") {
        const QUrl file =
            QUrl::fromLocalFile(folder_ + u'/' + options[u"current_name"_s].toString());
        auto response = QDBusMessage::createSignal(
            request.path(), u"org.freedesktop.portal.Request"_s, u"Response"_s);
        response << 0U << QVariantMap{{u"uris"_s, QStringList{file.toString()}}};
        QTimer::singleShot(200, this, [this, response] { bus().send(response); });
        return QVariant::fromValue(request);
    }
    return {};
}

QString MockPortal::introspect(const QString& /*path*/) const {
    return {};
}

} // namespace tessivo::test
