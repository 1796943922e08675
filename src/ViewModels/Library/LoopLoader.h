#pragma once

#include "Platform/System/LogLine.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QObject>

#include <exception>
#include <string>

namespace tessivo {

// Loads a loop of the library into the looper.
class LoopLoader : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // A loop that cannot be loaded is reported by a diagnostic line and a notice, and nothing
    // changes.
    Q_INVOKABLE void load(tessivo::SimpleLooperViewModel* viewModel,
                          const tessivo::SavedLoop& loop) {
        try {
            viewModel->loadLoop(loop);
        } catch (const std::exception& error) {
            logLine(std::string("Failed to load loop: ") + error.what());
            viewModel->notices()->tell(Notices::Kind::loadFailed, error.what());
        }
    }
};

} // namespace tessivo
