#include "ViewModels/Library/LoopExporter.h"

#include "Models/LoopError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "Utils/LoopFileManager.h"

#include <exception>
#include <optional>
#include <string>

namespace tessivo {

namespace {

struct Failure {
    QString message;
    std::string line;
};

// Copies, and returns why that failed; nothing when it did not.
std::optional<Failure> failureOfExport(const SavedLoop& loop, const QUrl& destination) {
    if (!destination.isLocalFile()) {
        const char* const text =
            QT_TRANSLATE_NOOP("tessivo::LoopExporter", "%1 is not a folder of this computer");
        const QString folder = destination.adjusted(QUrl::RemoveFilename).toDisplayString();
        return Failure{LoopExporter::tr(text).arg(folder),
                       QString::fromLatin1(text).arg(folder).toStdString()};
    }
    try {
        LoopFileManager::exportLoop(loop, destination);
        return std::nullopt;
    } catch (const std::exception& error) {
        return Failure{LoopError::shownReasonOf(error), LoopError::reasonOf(error)};
    }
}

} // namespace

void LoopExporter::exportLoop(const SavedLoop& loop, const QUrl& destination) {
    addRunning(1);
    const auto finish = [this](const std::optional<Failure>& failure) {
        addRunning(-1);
        if (failure) {
            emit failed(failure->message);
        }
    };
    const auto report = [](const std::optional<Failure>& failure) {
        if (failure) {
            logLine("Failed to export loop: " + failure->line);
        }
    };
    runInBackground(
        BackgroundQueue::Priority::userInitiated, this,
        [loop, destination] { return failureOfExport(loop, destination); }, finish, report);
}

void LoopExporter::addRunning(int exports) {
    running_ += exports;
    emit isExportingChanged();
}

} // namespace tessivo
