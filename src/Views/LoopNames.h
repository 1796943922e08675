#pragma once

#include "Platform/System/Formatters.h"

#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

// What a loop may be called.
class LoopNames : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // The name that a loop is offered at this moment.
    Q_INVOKABLE QString offered() {
        return QStringLiteral("Loop ") + formatShortDate(QDateTime::currentDateTime());
    }
    // Without white space and line breaks at both ends, as the library trims names.
    Q_INVOKABLE QString trimmed(const QString& name) { return name.trimmed(); }
};

} // namespace tessivo
