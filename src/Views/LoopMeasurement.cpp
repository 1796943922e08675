#include "Views/LoopMeasurement.h"

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/Formatters.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Utils/AudioUtils.h"
#include "Utils/LoopFileManager.h"

#include <QPointer>

#include <exception>
#include <string>

namespace tessivo {

QString LoopMeasurement::duration() const {
    return AudioUtils::formatDuration(duration_);
}

QString LoopMeasurement::fileSize() const {
    return formatFileSize(fileSize_);
}

void LoopMeasurement::measure(const QUrl& file) {
    // The guarded pointer is read on the main thread only, where we live and end.
    BackgroundQueue::post(BackgroundQueue::Priority::utility, [asker = QPointer(this), file] {
        try {
            const auto metadata = LoopFileManager::getLoopMetadata(file);
            MainQueue::post([asker, metadata] {
                if (asker) {
                    asker->duration_ = metadata.duration;
                    asker->fileSize_ = metadata.fileSize;
                    emit asker->measured();
                }
            });
        } catch (const std::exception& error) {
            logLine(std::string("Failed to load metadata: ") + error.what());
        }
    });
}

} // namespace tessivo
