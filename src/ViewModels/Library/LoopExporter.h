#pragma once

#include "Models/SavedLoop.h"

#include <QObject>
#include <QUrl>

namespace tessivo {

// Copies loops out of the library in the background. A failure is signalled from the main
// thread's event loop. A copy goes on when this object has gone; its failure is then a diagnostic
// line.
class LoopExporter : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)

public:
    using QObject::QObject;

    bool isExporting() const { return running_ > 0; }

    // Replaces a file that is already at the destination.
    Q_INVOKABLE void exportLoop(const tessivo::SavedLoop& loop, const QUrl& destination);

signals:
    void isExportingChanged();
    void failed(const QString& reason); // for the user

private:
    void addRunning(int exports);

    int running_ = 0;
};

} // namespace tessivo
