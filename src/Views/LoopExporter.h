#pragma once

#include "Models/SavedLoop.h"

#include <QObject>
#include <QUrl>
#include <QtQml/qqml.h>

namespace tessivo {

// Copies loops out of the library, in the background. What becomes of a copy is told by the
// main thread's event loop, and when the window that asked is gone by then, a failure becomes a
// line; the copy itself goes on.
class LoopExporter : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)

public:
    using QObject::QObject;

    bool isExporting() const { return running_ > 0; }

    // Replaces what is there.
    Q_INVOKABLE void exportLoop(const tessivo::SavedLoop& loop, const QUrl& destination);

signals:
    void isExportingChanged();
    void failed(const QString& message); // for the user

private:
    void begin();
    void end();

    int running_ = 0;
};

} // namespace tessivo
