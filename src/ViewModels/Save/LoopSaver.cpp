#include "ViewModels/Save/LoopSaver.h"

#include "Models/LoopError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <exception>
#include <optional>
#include <string>

namespace tessivo {
namespace {

struct Failure {
    QString message;
    QString reason;
    std::string line;
};

} // namespace

void LoopSaver::save(SimpleLooperViewModel* viewModel, const QString& name) {
    const auto saveLoop = [viewModel, name]() -> std::optional<Failure> {
        try {
            viewModel->saveCurrentLoop(name);
            return std::nullopt;
        } catch (const std::exception& error) {
            return Failure{LoopError::shown(error), LoopError::shownReasonOf(error),
                           LoopError::reasonOf(error)};
        }
    };
    const auto tell = [this](const std::optional<Failure>& failure) {
        if (failure) {
            emit failed(failure->message);
        } else {
            emit saved();
        }
    };
    const auto report = [viewModel](const std::optional<Failure>& failure) {
        if (failure) {
            logLine("Failed to save loop: " + failure->line);
            viewModel->notices()->tell(Notices::Kind::saveFailed, failure->reason);
        }
    };
    runInBackground(BackgroundQueue::Priority::userInitiated, this, saveLoop, tell, report);
}

} // namespace tessivo
