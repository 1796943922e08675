#include "Platform/System/Preferences.h"

#include <QSettings>
#include <QVariant>

#include <cerrno>
#include <system_error>

namespace tessivo {
namespace {

// Named here and not by the application object: all our programs use the same file.
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
        // Otherwise this process would read the value that is not on the disk.
        previous.isValid() ? settings.setValue(key, previous) : settings.remove(key);
        throw std::system_error(EIO, std::generic_category(), "The preferences cannot be written");
    }
}

} // namespace tessivo
