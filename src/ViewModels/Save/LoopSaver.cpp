#include "ViewModels/Save/LoopSaver.h"

#include "Platform/System/BackgroundCall.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <exception>
#include <optional>

namespace tessivo {

void LoopSaver::save(SimpleLooperViewModel* viewModel, const QString& name) {
    const auto saveLoop = [viewModel, name]() -> std::optional<QString> {
        try {
            viewModel->saveCurrentLoop(name);
            return std::nullopt;
        } catch (const std::exception& error) {
            return QString::fromUtf8(error.what());
        }
    };
    runInBackground(BackgroundQueue::Priority::userInitiated, this, saveLoop,
                    [this](const std::optional<QString>& failure) {
                        if (failure) {
                            emit failed(*failure);
                        } else {
                            emit saved();
                        }
                    });
}

} // namespace tessivo
