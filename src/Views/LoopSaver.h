#pragma once

#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

class SimpleLooperViewModel;

// Saves the current loop for the sheet that asks, in the background. The answer comes from the
// main thread's event loop, and to nobody when the sheet is gone by then; the save itself goes
// on. The controller must outlive it: the application's end waits for background work first.
class LoopSaver : public QObject {
    Q_OBJECT
    QML_ELEMENT

public:
    using QObject::QObject;

    Q_INVOKABLE void save(tessivo::SimpleLooperViewModel* viewModel, const QString& name);

signals:
    void saved();
    void failed(const QString& message); // for the user
};

} // namespace tessivo
