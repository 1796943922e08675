#include "Models/TransportAction.h"

#include <stdexcept>

namespace tessivo {

QString stringValue(TransportAction action) {
    switch (action) {
    case TransportAction::record:
        return QStringLiteral("record");
    case TransportAction::play:
        return QStringLiteral("play");
    case TransportAction::stop:
        return QStringLiteral("stop");
    case TransportAction::clear:
        return QStringLiteral("clear");
    }
    return {};
}

std::optional<TransportAction> transportAction(QStringView stored) {
    for (const TransportAction action : allTransportActions) {
        if (stored == stringValue(action)) {
            return action;
        }
    }
    return {};
}

QString displayName(TransportAction action) {
    QString name = stringValue(action);
    name.front() = name.front().toUpper();
    return name;
}

QJsonValue toJson(TransportAction action) {
    return stringValue(action);
}

TransportAction transportActionFromJson(const QJsonValue& value) {
    const auto action = value.isString() ? transportAction(value.toString()) : std::nullopt;
    if (!action) {
        throw std::invalid_argument("The value is not a transport command");
    }
    return *action;
}

} // namespace tessivo
