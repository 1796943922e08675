#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tessivo {

// The user's preferences of this application, kept between runs. Any thread.
class Preferences {
public:
    // None when the key is missing or holds something else than raw bytes.
    static std::optional<QByteArray> data(const QString& key);

    // Throws std::system_error when the preferences cannot be written.
    static void setData(const QString& key, const QByteArray& bytes);
};

} // namespace tessivo
