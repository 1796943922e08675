#include "Views/LoopExporter.h"

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Utils/LoopFileManager.h"

#include <QPointer>

#include <exception>

namespace tessivo {

namespace {

// Empty when the copy is there.
QString failureOf(const SavedLoop& loop, const QUrl& destination) {
    if (!destination.isLocalFile()) {
        return QStringLiteral("%1 is not a folder of this computer")
            .arg(destination.adjusted(QUrl::RemoveFilename).toDisplayString());
    }
    try {
        LoopFileManager::exportLoop(loop, destination);
        return {};
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

void LoopExporter::exportLoop(const SavedLoop& loop, const QUrl& destination) {
    begin();
    // The guarded pointer is read on the main thread only, where we live and end.
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated,
                          [asker = QPointer(this), loop, destination] {
                              const QString failure = failureOf(loop, destination);
                              MainQueue::post([asker, failure] {
                                  if (asker) {
                                      asker->end();
                                  }
                                  if (failure.isEmpty()) {
                                      return;
                                  }
                                  if (asker) {
                                      emit asker->failed(failure);
                                  } else {
                                      logLine("Failed to export loop: " + failure.toStdString());
                                  }
                              });
                          });
}

void LoopExporter::begin() {
    ++running_;
    emit isExportingChanged();
}

void LoopExporter::end() {
    --running_;
    emit isExportingChanged();
}

} // namespace tessivo
