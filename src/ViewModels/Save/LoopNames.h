#pragma once

#include "Platform/System/Formatters.h"

#include <QDateTime>
#include <QObject>

namespace tessivo {

// The rules for the name of a loop.
class LoopNames : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The name that the save sheet proposes now.
    Q_INVOKABLE QString proposal() {
        return tr("Loop %1").arg(formatShortDate(QDateTime::currentDateTime()));
    }
    // Without white space and line breaks at both ends, as the library trims names.
    Q_INVOKABLE QString trimmed(const QString& name) { return name.trimmed(); }
};

} // namespace tessivo
