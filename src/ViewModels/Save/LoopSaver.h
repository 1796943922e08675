#pragma once

#include <QObject>

namespace tessivo {

class SimpleLooperViewModel;

// Saves the current loop in the background. One of the signals follows from the main thread's event
// loop. The save itself goes on when this object has gone, and its failure is then a diagnostic
// line and a notice. The view model must outlive it: the program waits for background work before
// it ends.
class LoopSaver : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    Q_INVOKABLE void save(tessivo::SimpleLooperViewModel* viewModel, const QString& name);

signals:
    void saved();
    void failed(const QString& message); // for the user
};

} // namespace tessivo
