#include "Platform/System/DesktopSettings.h"

#include "Platform/System/Portal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

namespace tessivo {
namespace {

using namespace Qt::StringLiterals;

constexpr int kPatience = 300; // ms
constexpr auto kAppearance = "org.freedesktop.appearance";
// Has the wish for little motion where the portal is too old to know it.
constexpr auto kGnome = "org.gnome.desktop.interface";

const QString kSettings = u"org.freedesktop.portal.Settings"_s;

QDBusPendingCall readAll(int patience) {
    return portal::call(
        kSettings, u"ReadAll"_s,
        {QStringList{QString::fromLatin1(kAppearance), QString::fromLatin1(kGnome)}}, patience);
}

QVariant answerOf(const QDBusPendingCall& call) {
    return call.isError() ? QVariant() : call.reply().arguments().value(0);
}

} // namespace

DesktopSettings& DesktopSettings::shared() {
    static DesktopSettings settings;
    return settings;
}

DesktopSettings::DesktopSettings() {
    qDBusRegisterMetaType<QDBusVariant>(); // which a connection does not know before its first call
    QDBusConnection::sessionBus().connect(portal::kService, portal::kObject, kSettings,
                                          u"SettingChanged"_s, this,
                                          SLOT(change(QString, QString, QDBusVariant)));
    // Both are asked before either is waited for.
    QDBusPendingCall settings = readAll(kPatience);
    QDBusPendingCall dialogs =
        portal::call(u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                     {u"org.freedesktop.portal.FileChooser"_s, u"version"_s}, kPatience);
    settings.waitForFinished();
    dialogs.waitForFinished();
    portalHasFileDialogs_ = answerOf(dialogs).isValid();
    takeAll(answerOf(settings));
    if (settings.isError()) {
        const auto* late = new QDBusPendingCallWatcher(readAll(portal::kUsualPatience), this);
        connect(late, &QDBusPendingCallWatcher::finished, this,
                [this](QDBusPendingCallWatcher* watcher) {
                    takeAll(answerOf(*watcher));
                    watcher->deleteLater();
                });
    }
}

void DesktopSettings::takeAll(const QVariant& groups) {
    const auto all = qdbus_cast<QMap<QString, QVariantMap>>(groups);
    for (auto group = all.begin(); group != all.end(); ++group) {
        for (auto value = group->begin(); value != group->end(); ++value) {
            values_[{group.key(), value.key()}] = value.value();
        }
    }
    emit changed();
}

void DesktopSettings::change(const QString& group, const QString& key, const QDBusVariant& value) {
    values_[{group, key}] = value.variant();
    emit changed();
}

QVariant DesktopSettings::value(const char* group, const char* key) const {
    return values_.value({QString::fromLatin1(group), QString::fromLatin1(key)});
}

bool DesktopSettings::prefersDark() const {
    return value(kAppearance, "color-scheme").toUInt() == 1;
}

bool DesktopSettings::prefersLight() const {
    return value(kAppearance, "color-scheme").toUInt() == 2;
}

bool DesktopSettings::highContrast() const {
    return value(kAppearance, "contrast").toUInt() == 1;
}

bool DesktopSettings::reducedMotion() const {
    const QVariant animations = value(kGnome, "enable-animations");
    return value(kAppearance, "reduced-motion").toUInt() == 1 ||
           (animations.isValid() && !animations.toBool());
}

} // namespace tessivo
