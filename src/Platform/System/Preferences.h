#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tessivo {

// The user's preferences for this application. Any thread; blocks on the disk.
class Preferences {
public:
    // Nothing when the key is missing or its value is not raw bytes.
    static std::optional<QByteArray> data(const QString& key);

    // Throws std::system_error when the preferences cannot be written.
    static void setData(const QString& key, const QByteArray& bytes);
};

} // namespace tessivo
