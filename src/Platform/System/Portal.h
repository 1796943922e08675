#pragma once

#include <QDBusPendingCall>
#include <QString>
#include <QVariantList>

namespace tessivo::portal {

inline const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString kObject = QStringLiteral("/org/freedesktop/portal/desktop");

constexpr int kUsualPatience = -1; // that of the bus, half a minute
constexpr int kEndlessPatience = 0x7fffffff;

// Calls the desktop's portal by the session bus. Returns at once: the answer, or that there is no
// portal or none in that time (ms), comes later. Main thread only.
QDBusPendingCall call(const QString& interface, const QString& method,
                      const QVariantList& arguments, int patience = kUsualPatience);

} // namespace tessivo::portal
