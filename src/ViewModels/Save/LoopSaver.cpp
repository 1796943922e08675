#include "ViewModels/Save/LoopSaver.h"

#include "Models/LoopError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <exception>
#include <optional>

namespace tessivo {
namespace {

struct Failure {
    QString message;
    QString reason;
};

} // namespace

void LoopSaver::save(SimpleLooperViewModel* viewModel, const QString& name) {
    const auto saveLoop = [viewModel, name]() -> std::optional<Failure> {
        try {
            viewModel->saveCurrentLoop(name);
            return std::nullopt;
        } catch (const std::exception& error) {
            return Failure{QString::fromUtf8(error.what()), LoopError::reasonOf(error)};
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
            logLine("Failed to save loop: " + failure->reason.toStdString());
            viewModel->notices()->tell(Notices::Kind::saveFailed, failure->reason);
        }
    };
    runInBackground(BackgroundQueue::Priority::userInitiated, this, saveLoop, tell, report);
}

} // namespace tessivo
