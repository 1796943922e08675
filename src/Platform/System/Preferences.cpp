#include "Platform/System/Preferences.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tessivo {
namespace {

// Named here and not by the application object: all our programs use the same file.
QString location() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Tessivo/Tessivo.conf");
}

// Opening a FIFO would wait for its other end, and a device may have none.
bool isBlocking() {
    std::error_code ignored;
    return std::filesystem::is_other(QFileInfo(location()).filesystemFilePath(), ignored);
}

std::system_error writeFailure() {
    return {EIO, std::generic_category(), "The preferences cannot be written"};
}

QSettings userSettings() {
    return {location(), QSettings::NativeFormat};
}

} // namespace

std::optional<QByteArray> Preferences::data(const QString& key) {
    if (isBlocking()) {
        return {};
    }
    const QVariant value = userSettings().value(key);
    if (value.typeId() != QMetaType::QByteArray) {
        return {};
    }
    return value.toByteArray();
}

void Preferences::setData(const QString& key, const QByteArray& bytes) {
    if (isBlocking()) {
        throw writeFailure();
    }
    QSettings settings = userSettings();
    const QVariant previous = settings.value(key);
    settings.setValue(key, bytes);
    settings.sync();
    if (settings.status() == QSettings::AccessError) {
        // Otherwise this process would read the value that is not on the disk.
        previous.isValid() ? settings.setValue(key, previous) : settings.remove(key);
        throw writeFailure();
    }
}

} // namespace tessivo
