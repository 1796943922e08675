#pragma once

#include "Audio/MIDIManager.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

namespace tessivo {

// The application's MIDI manager for the window that holds it, and what joins the two: notes
// become the commands of the window's looper. The manager is made when it is first asked for.
class SharedMIDI : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(tessivo::MIDIManager* manager READ manager CONSTANT)

public:
    using QObject::QObject;

    MIDIManager* manager() { return &MIDIManager::shared(); }

    // From now on the four commands are that controller's. The manager outlives every window,
    // so notes that come after the controller has gone do nothing.
    Q_INVOKABLE void setupCallbacks(tessivo::SimpleLooperViewModel* viewModel) {
        const auto command = [viewModel = QPointer(viewModel)](auto pressed) {
            return [viewModel, pressed] {
                if (viewModel)
                    (viewModel->*pressed)();
            };
        };
        manager()->onRecord = command(&SimpleLooperViewModel::recordButtonPressed);
        manager()->onPlay = command(&SimpleLooperViewModel::playButtonPressed);
        manager()->onStop = command(&SimpleLooperViewModel::stopButtonPressed);
        manager()->onClear = command(&SimpleLooperViewModel::clearButtonPressed);
    }
};

} // namespace tessivo
