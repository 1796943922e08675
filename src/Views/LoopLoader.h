#pragma once

#include "Platform/System/LogLine.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QObject>
#include <QtQml/qqml.h>

#include <exception>
#include <string>

namespace tessivo {

// Hands a loop of the library to the looper.
class LoopLoader : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    // A loop that cannot be loaded is told by a line; the looper is then empty.
    Q_INVOKABLE void load(tessivo::SimpleLooperViewModel* viewModel,
                          const tessivo::SavedLoop& loop) {
        try {
            viewModel->loadLoop(loop);
        } catch (const std::exception& error) {
            logLine(std::string("Failed to load loop: ") + error.what());
        }
    }
};

} // namespace tessivo
