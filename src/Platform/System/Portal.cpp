#include "Platform/System/Portal.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace tessivo::portal {

QDBusPendingCall call(const QString& interface, const QString& method,
                      const QVariantList& arguments, int patience) {
    auto message = QDBusMessage::createMethodCall(kService, kObject, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().asyncCall(message, patience);
}

} // namespace tessivo::portal
