#include "Platform/System/Preferences.h"

#include <QSettings>
#include <QVariant>

#include <cerrno>
#include <system_error>

namespace tessivo {
namespace {

// Named here rather than by the application object, so that every program of ours that links
// this finds the same file.
QSettings userSettings() {
    return {QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Tessivo"),
            QStringLiteral("Tessivo")};
}

} // namespace

std::optional<QByteArray> Preferences::data(const QString& key) {
    const QVariant value = userSettings().value(key);
    if (value.typeId() != QMetaType::QByteArray) {
        return {};
    }
    return value.toByteArray();
}

void Preferences::setData(const QString& key, const QByteArray& bytes) {
    QSettings settings = userSettings();
    const QVariant previous = settings.value(key);
    settings.setValue(key, bytes);
    settings.sync();
    if (settings.status() == QSettings::AccessError) {
        // The process would go on reading what never reached the disk.
        previous.isValid() ? settings.setValue(key, previous) : settings.remove(key);
        throw std::system_error(EIO, std::generic_category(), "The preferences cannot be written");
    }
}

} // namespace tessivo
