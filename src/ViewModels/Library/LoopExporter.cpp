#include "ViewModels/Library/LoopExporter.h"

#include "Models/LoopError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/LogLine.h"
#include "Utils/LoopFileManager.h"

#include <exception>

namespace tessivo {

namespace {

// Copies, and returns why that failed; empty when it did not.
QString failureOfExport(const SavedLoop& loop, const QUrl& destination) {
    if (!destination.isLocalFile()) {
        return QStringLiteral("%1 is not a folder of this computer")
            .arg(destination.adjusted(QUrl::RemoveFilename).toDisplayString());
    }
    try {
        LoopFileManager::exportLoop(loop, destination);
        return {};
    } catch (const std::exception& error) {
        return LoopError::reasonOf(error);
    }
}

} // namespace

void LoopExporter::exportLoop(const SavedLoop& loop, const QUrl& destination) {
    addRunning(1);
    const auto finish = [this](const QString& failure) {
        addRunning(-1);
        if (!failure.isEmpty()) {
            emit failed(failure);
        }
    };
    const auto report = [](const QString& failure) {
        if (!failure.isEmpty()) {
            logLine("Failed to export loop: " + failure.toStdString());
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
